// Reads the lines of module definitions into a list of records.
#ifndef LIB_DICOM_SRC_DEFINITIONS_MODULE_READER_H
#define LIB_DICOM_SRC_DEFINITIONS_MODULE_READER_H

#include "definitions/attribute_line.h"
#include "definitions/definition_files.h"
#include "definitions/definition_text.h"
#include "definitions/rule_collector.h"

#include <Lib_DICOM/frame.h>

#include <array>
#include <climits>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lib_dicom {

class Module_Reader {
public:
    /**
     * @param list   the list to add to, which may hold records already; it stays the caller's
     * @param depth  the level that it stands at
     * @param store  where lines of files are kept once they are read, and the memory for rules
     */
    Module_Reader(HWND handle, Definition_Files& files, DICOM_List** list, int depth,
                  Rule_Store& store);

    /** Reads lines; `file` is what messages call them. */
    void Read_Text(const std::string& file, std::string_view text);
    /** Reads a file of the definition directory; false with the reason when there is none. */
    bool Read_File(std::string_view name, std::string& why);
    /** Brings the list and the items below it into ascending order. */
    void Sort();
    /** Keeps the rules of the list that was read with `store`, whose arena this reader was given. */
    void Keep_Rules(Rule_Store& store);

    bool Has_Faults() const
    {
        return reading_.Has_Faults();
    }
    /** The record of the last line at a level, which lines one level deeper belong to. */
    DICOM_List*& Open_Record(int depth)
    {
        return open_[static_cast<std::size_t>(depth)];
    }

private:
    /** A record by the sequence around it, null at the top, and its tag. */
    struct Key {
        DICOM_List* parent;
        std::uint32_t tag;
        bool operator==(const Key&) const = default;
    };
    struct Key_Hash {
        std::size_t operator()(const Key& key) const;
    };
    /** How the lines of the file in hand are taken. */
    struct Scope {
        /** The level that lines without ">" stand at. */
        int depth;
        /** Nothing is required of the attributes of that level. */
        bool is_optional;
        /** The module that the lines belong to. */
        Rule_Collector::Part part = {};
        /** The text stays in memory, and its lines need to be taken apart once only. */
        bool is_kept = false;
    };

    /** A record, and what lines said of it. */
    struct Known {
        DICOM_List* record = nullptr;
        Rule_Collector::Chain rules = {};
    };

    void Read_Lines(const std::string& file, std::string_view text, const Scope& scope);
    void Read_Line(Line_Cursor& cursor, const Scope& scope);
    /** The same for a line that was read before, and is as it was then. */
    void Repeat_Line(const Kept_Line& line, Line_Cursor& cursor, const Scope& scope);
    /** Keeps a line that was right, if its file stays in memory. */
    void Keep(Kept_Line line, int number);
    /** Closes the levels below; false where a line is left out with the faulty one that it is nested in. */
    bool Enter_Level(int depth);
    /** The line behind its first word, whose column is given. */
    Include_Line Read_Include(Line_Cursor& cursor, std::size_t column);
    void Find_File(Include_Line& line);
    void Check_Include(const Include_Line& line) const;
    void Include(const Include_Line& line, const Scope& scope, int depth);
    void Include(std::string_view name, const Definition_File& file, const Scope& scope);
    void Check_Level(int depth) const;

    void Read_Attribute(Line_Cursor& cursor, const Scope& scope, int depth);
    /** Where a line stands, and the record that it is about; null for none yet. */
    struct Spot {
        Key key;
        Known* known;
        int number;
        int depth;
    };
    /** Changes a record, or makes it. Nothing is changed before the whole line is known to be right. */
    void Apply(const Attribute_Line& line, unsigned short vr, const std::string& bytes, Spot spot,
               const Scope& scope);
    /** The bytes of the value that a line has. */
    static std::string Bytes_Of(const Attribute_Line& line, unsigned short vr);
    /** The type that a record has after a line. */
    static unsigned short Type_Of(const Attribute_Line& line, const Known* known);
    static DICOM_List* Record_Of(const Known* known)
    {
        return known != nullptr ? known->record : nullptr;
    }
    /** The VR that a record has after a line. */
    static unsigned short Settle_VR(const Attribute_Line& line, const DICOM_List* record);
    Known* Find(const Key& key);
    Known* Create(const Key& key, const Attribute_Line& line, int depth);
    void Index(DICOM_List* list);
    void Close_Levels(int depth);

    Definition_Files& files_;
    DICOM_List** list_;
    int depth_;
    Reading reading_;
    Rule_Store& store_;
    Rule_Collector rules_;
    /** The file that is being read, for messages. */
    const char* file_ = "";
    /** What is kept of it; null where it does not stay in memory. */
    Kept_File* kept_ = nullptr;
    std::unordered_map<Key, Known, Key_Hash> records_;
    std::array<DICOM_List*, DICOM_Max_Depth> open_ = {};
    /** Lines deeper than this belong to a faulty one, and are left out with it. */
    int faulty_depth_ = INT_MAX;
    /** The files that are being read, each included by the one before. */
    std::vector<std::string_view> including_;
};

}  // namespace lib_dicom

#endif
