// Reads the elements of a source into a tree, and goes on behind faults.
//
// A header that makes sense where it stands, and leads to one that does, is taken at the cost of a
// few comparisons. Any other is settled: each way to read it is tried, and the one is taken under
// which the headers that follow make the most sense; where there is none, reading goes on at the next
// place where headers follow each other. One file holds each kind of fault:
//
//     element_reader.cpp   elements that are sound
//     levels.cpp           the levels of nesting: what opens and closes them
//     moved_ends.cpp       ends of levels that missing or additional bytes have moved
//     wrong_header.cpp     VRs that do not exist, lengths that do not fit, other encodings
//     doubts.cpp           what speaks against a reading
//     pixel_length.cpp     the length of native pixel data, by the image
//     hidden_items.cpp     sequences that do not look like one, and what looks like one and is none
//     items.cpp            what stands directly in a sequence: items, and what is none
//     overwritten.cpp      headers of items and sequences that are overwritten as a whole
//     delimiters.cpp       delimiters that are missing, doubled, exchanged or misplaced
//     unclosed.cpp         an item and its sequence that are both not closed
//     fragments.cpp        encapsulated data
//     resync.cpp           the next place where headers follow each other
//     private_elements.cpp private creators and their definitions
#ifndef LIB_MEND_ELEMENT_READER_H
#define LIB_MEND_ELEMENT_READER_H

#include "mend/io/deflate.h"
#include "mend/io/window.h"
#include "mend/reading/data_set.h"
#include "mend/reading/straight.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace lib_mend {

/** "1 byte", "2 bytes". */
std::string Bytes_Text(std::int64_t count);

class Element_Reader {
public:
    /**
     * @param end   position behind the last element: the size of the source, or less
     * @param mode  byte-order code of the elements at the top level
     * @param budget  what the elements may cost; reading stops when it is spent
     */
    Element_Reader(const std::shared_ptr<Source>& source, std::int64_t start, std::int64_t end,
                   unsigned char mode, Findings& findings, std::vector<Skipped>& skipped,
                   const Memory_Budget& budget = {});

    /** Reads to the end. */
    Record_List Read_All();

    /** Position behind the last element that was read. */
    std::int64_t Position() const
    {
        return position_;
    }

private:
    /** What had to be assumed to read a header. */
    enum class Assumed : unsigned char { Nothing, As_Library, Form, Padding, Encoding, Torn };
    struct Reading {
        Element_Header header;
        /** Byte-order code of what follows in the list. */
        unsigned char mode = 0;
        Assumed assumed = Assumed::Nothing;
        /** Form that all headers behind it are taken to have. */
        Header_Form habit = Header_Form::Implicit;
        /** How well the header and what follows make sense; what follows alone. */
        int points = -1;
        int behind = 0;
        /** The header makes sense by itself. */
        bool is_possible = false;
    };
    /** What stands behind a length makes sense, may do so, or makes none. */
    enum class Trust : unsigned char { None, Weak, Full };
    /** Where reading goes on: a position, and the number of levels that are open there. */
    struct Place_Found {
        std::int64_t position;
        std::size_t levels;
    };
    /** Elements that follow each other, in a list that so many levels are open for. */
    struct Run {
        std::int64_t from;
        std::int64_t to;
        unsigned char mode;
        std::size_t levels;
    };
    /** What stands in a value. */
    struct Content {
        enum class Kind { Plain, Items, Fragments } kind = Kind::Plain;
        unsigned char mode = 0;
    };

    // ---- element_reader.cpp
    void Step();
    void Read_In_List();
    bool Fits_What_Follows(const Element_Header& header);
    bool Is_Cut_Off_Here();
    bool Ends_Before_Items(const Element_Header& header);
    bool Ends_With_Moved(const Element_Header& header);
    bool Leads_On(const Element_Header& header);
    bool Spend_Element();
    void Fill_Record(DICOM_List& record, const Element_Header& header) const;
    DICOM_List& Append_Record(const Element_Header& header);
    void Add_Item(Nesting_Level& sequence, Nesting_Level& item, const Element_Header& header);
    void Accept(const Element_Header& header);
    void Raise_Last(const Element_Header& header);
    void Read_Value(DICOM_List& record, const Element_Header& header);
    void Load(DICOM_List& record);
    std::int64_t Find_Last_Nonzero() const;
    bool Stop_At_Zeros();

    // ---- levels.cpp
    Trust Trust_In(std::int64_t end, std::size_t levels);
    void Enter(DICOM_List& record, const Element_Header& header, const Content& content);
    void Leave_Ended_Levels();
    void Pop();
    void Pop_To(std::size_t levels);
    void Report_Open_Levels();

    // ---- moved_ends.cpp
    bool Content_Fills(const Nesting_Level& level, std::int64_t content, std::int64_t end);
    bool Stands_Behind_Sequence(std::int64_t at);
    std::int64_t Find_Moved_End(const Nesting_Level& level);
    bool Ends_Before(const Nesting_Level& level, std::int64_t content, std::int64_t end);
    bool Is_Delimited_Before(const Nesting_Level& level, std::int64_t content, std::int64_t end);
    bool Items_Lead_Behind(const Nesting_Level& level, std::int64_t content);
    void Believe_Length(Nesting_Level& level, std::int64_t content, std::int64_t length);
    void Note_Shift(std::int64_t bytes);
    void Note_Garbage(std::int64_t size);
    void Move_Weak_Ends(std::initializer_list<std::int64_t> shifts);

    // ---- wrong_header.cpp
    Element_Header With_VR(const Element_Header& header) const;
    void Offer_Under(Reading& best, const Reading& reading, int cost);
    void Offer(Reading& best, const Element_Header& header, Assumed assumed, int cost);
    void Offer_Forms(Reading& best, const Element_Header& as_read);
    void Offer_Torn(Reading& best, const Element_Header& as_read);
    void Offer_Encodings(Reading& best);
    bool Ask_Library(const Element_Header& as_read, Element_Header& header);
    void Offer_Library(Reading& best, const Element_Header& as_read);
    bool Ends_Beyond_Source(const Element_Header& header);
    void Settle(const Element_Header& as_read);
    bool Settle_Damaged_Delimiter(const Element_Header& header, int enough);
    bool Settle_By_Search(const Element_Header& as_read);
    bool Is_Known_Here(Tag tag, const Element_Header& header);
    std::optional<Tag> Whole_Tag(std::span<const unsigned char> rest, const Element_Header& header,
                                 Tag after, Tag before);
    std::optional<Element_Header> Torn_Header(std::int64_t at, Tag after);
    void Take_Torn(const Element_Header& torn);
    bool Settle_Torn_Tag();
    bool Take_Before_Torn_Tag(const Element_Header& header, const Place_Found& place);
    bool Is_Strong(const Place_Found& place);
    void Report_Cut(const Element_Header& header, std::int64_t claimed);
    void Note_Claim(std::int64_t length, std::int64_t claimed);
    void Take(const Reading& reading, const Element_Header& as_read);

    // ---- doubts.cpp
    bool Looks_Wrong(const Element_Header& header);
    bool Holds_Controls(const Element_Header& header);
    std::int64_t Padded_End(const Element_Header& header) const;
    std::vector<Run> Find_Runs(const Element_Header& header, unsigned char mode);
    std::int64_t Length_Before_Elements(const Element_Header& header);
    void Follow_Foreign();
    void Accept_Doubtful(const Element_Header& header);
    std::int64_t Sequence_At_End(const Element_Header& header);
    bool Settle_Before_Sequence(const Element_Header& header);
    bool Hides_Place(const Reading& reading);
    bool Fits_Place(const Element_Header& header, const Place_Found& place);
    bool Length_Holds(const Element_Header& header, std::int64_t claimed, std::int64_t place);

    // ---- pixel_length.cpp
    std::int64_t Size_Of_Image() const;
    void Report_Length(const Element_Header& header, std::int64_t length);
    bool Ends_Too_Late(const Element_Header& header, std::int64_t end);
    bool Settle_Pixels(const Element_Header& as_read);

    // ---- hidden_items.cpp
    bool Starts_With_Item(std::int64_t at, unsigned char mode);
    bool Items_Fill(std::int64_t at, std::int64_t end, unsigned char mode);
    unsigned char Mode_Of_Items(std::int64_t at, unsigned char mode);
    void Note_Byte_Order(const DICOM_List& record, unsigned char around, unsigned char mode);
    int Points_In_Item(const Outlook& look, Level_View item, std::int64_t at);
    int Points_In_Bare_Item(const Element_Header& header);
    int Points_In_Damaged_Item(const Outlook& look, std::int64_t at);
    int Points_In_Overwritten_Item(const Outlook& look, std::int64_t at);
    bool Is_Item_Near(Outlook look, std::int64_t from, std::int64_t until);
    bool Fill_Bare_Item(Level_View item, std::int64_t at, std::int64_t sequence_end);
    int Points_Without_Item(const Element_Header& header);
    Element_Header With_Length_Of_Items(const Element_Header& header);
    bool Elements_Stand_In_Items(std::int64_t at, unsigned char mode);
    std::int64_t End_Of_Bytes(Tag tag, std::int64_t value);
    bool Take_As_Bytes(DICOM_List& record, std::int64_t value, unsigned char mode);
    bool Is_Pixel_Data(DICOM_List& record);
    Content Content_Of_Undefined(DICOM_List& record, const Element_Header& header);
    Content Content_Of(DICOM_List& record, const Element_Header& header);

    // ---- items.cpp
    bool Starts_Doubled(const Element_Header& header);
    void Start_Item(const Element_Header& header);
    std::int64_t Find_Torn_Item(const Outlook& look, std::int64_t content);
    int Points_In_Torn_Item(const Outlook& look, std::int64_t content);
    bool Start_Torn_Item(std::int64_t content, std::int64_t claimed_end);
    bool Shows_Delimiter(Tag tag, std::int64_t until);
    std::int64_t Find_Torn_End(std::int64_t content);
    bool End_At_Torn_Delimiter(std::int64_t content);
    bool Is_Damaged_End(const Element_Header& header);
    void End_At_Damaged_Delimiter(const Element_Header& header);
    void Read_In_Sequence();
    void Read_Item_End_In_Sequence(const Element_Header& header);
    int Points_In_Last_Item();
    void Reopen_Item();
    int Points_In_New_Item(std::int64_t at);
    static int Same_Bytes(Tag tag, Tag other);
    bool Lacks_Item_Header();
    void Supply_Item();
    void Settle_In_Sequence();

    // ---- overwritten.cpp
    Straight_Reading Straight_From(std::int64_t at, std::size_t pop,
                                   std::optional<Level_Kind> inside);
    bool Leads_Further(std::int64_t at, std::size_t pop, std::size_t other);
    bool Stand_In_Item(std::int64_t at, std::int64_t behind);
    bool Start_Overwritten_Item();
    std::int64_t Items_Behind_Damage(std::int64_t from, std::int64_t end, unsigned char mode);
    std::int64_t Elements_Behind_Damage(std::int64_t from, std::int64_t end);
    bool Skip_To_Items();
    std::int64_t End_Of_Items(std::int64_t at);
    bool Follows_Torn_Header(std::int64_t at);
    bool Is_Lost_Sequence(std::int64_t at);
    bool Supply_Sequence();

    // ---- delimiters.cpp
    int Points_After(std::int64_t at, std::size_t pop);
    int Size_Of_Delimiter(const Element_Header& header);
    void Check_Delimiter_Length(const Element_Header& header);
    void Skip_Delimiter(const Element_Header& header, const char* what);
    bool Ends_As_Claimed(const Nesting_Level& level) const;
    void Note_Left();
    void Report_Wrong_Length();
    void Close_Unclosed(const char* what);
    void Close_Moved();
    bool Leave_Exact_Lengths(const Element_Header& header);
    bool Leave_Wrong_Lengths(const Element_Header& header);
    void Read_Delimiter_In_List(const Element_Header& header);
    bool Goes_On_At(std::int64_t at, bool within_length);
    void Enter_Again(DICOM_List& record, Level_Kind kind, int items, unsigned char mode);
    bool Go_On_In_Left_Sequence(bool within_length);
    bool Reopen_Sequence();
    bool Is_Empty_Sequence_In_Front() const;
    bool Goes_On_In_Empty_Sequence();
    void Read_Item_In_List(const Element_Header& header);
    bool Stands_Sequence_End(std::int64_t at);
    void Read_Sequence_End_In_List(const Element_Header& header);

    // ---- unclosed.cpp
    bool Release_Data_Set();

    // ---- fragments.cpp
    bool Fragment_May_End(std::int64_t at);
    bool Ends_Fragments(std::int64_t at);
    bool Is_Damaged_Item(const Element_Header& header, std::int64_t at);
    bool Fragments_Fill(std::int64_t at, std::int64_t end, unsigned char mode);
    std::int64_t Find_Fragment_End(std::int64_t from);
    void Supply_Offset_Table(std::int64_t content, std::int64_t end);
    void Read_Fragment(const Element_Header& header);
    void Report_Fragment_End(const DICOM_List& record, const Element_Header& header,
                             std::int64_t claimed, std::int64_t end);
    void Read_In_Fragments();
    void Read_Bare_Fragment(const Element_Header& header);

    // ---- resync.cpp
    bool Is_Place(std::int64_t at, std::size_t levels, Tag last);
    std::optional<Place_Found> Find_Place(std::int64_t from, Tag last, std::int64_t until);
    void Skip_Rest();
    void Skip_To(std::int64_t end);
    void Skip_Garbage();
    void Leave_For(const Place_Found& place);

    // ---- private_elements.cpp
    void Note_Creator(Nesting_Level& list, const DICOM_List& record);
    void Ask_Definition(DICOM_List& record);

    void Report(Fault fault, Level level, const DICOM_List& record, std::string text);
    void Report(Fault fault, Level level, const Element_Header& header, std::string text);

    Nesting_Level& Top()
    {
        return levels_.back();
    }
    std::span<const unsigned char> Header_Bytes(std::int64_t at)
    {
        return window_.At(at, Longest_Header);
    }
    /** The header at a place in the innermost level; the last one that was asked for is at hand. */
    const Element_Header& Header_At(std::int64_t at)
    {
        if (ahead_.at != at || ahead_.header.mode != Top().mode) {
            ahead_.at = at;
            ahead_.header = Decode_Header(Header_Bytes(at), Top().mode);
            ahead_.is_judged = false;
        }
        return ahead_.header;
    }
    /** The same judged in the innermost level, behind an element with the tag `last`. */
    Grade Judge_At(std::int64_t at, Tag last);
    Outlook Look() const
    {
        return {window_, levels_, end_};
    }

    std::shared_ptr<Source> source_;
    /** The bytes of one header, for the library to read. */
    std::array<unsigned char, 64> lens_ = {};
    Cursor lens_cursor_;
    mutable Window window_;
    Findings& findings_;
    std::vector<Skipped>& skipped_;
    Memory_Budget budget_;
    std::int64_t position_;
    std::int64_t end_;
    Record_List root_;
    std::vector<Nesting_Level> levels_;
    /**
     * What follows an element is looked at before the element is taken, and is the next to be read.
     * Its grade holds behind the tag `last` and for the limit of its list.
     */
    struct Ahead {
        std::int64_t at = -1;
        Element_Header header;
        bool is_judged = false;
        Grade grade = Grade::Impossible;
        Tag last;
        std::int64_t limit = 0;
    };
    Ahead ahead_;
    Path path_;
    bool stopped_ = false;
    /** So much later than its length says an item or a sequence around it ends. */
    Shift shift_;
    /** Steps that neither moved on nor left a level, since one did move on. */
    int idle_steps_ = 0;
    /** The file ends too early, and that was said. */
    bool cut_off_ = false;
    Bytes search_;
    /** Elements that were found in a value, the first ones last. */
    std::vector<Run> foreign_;
    /** End of the last value that did not make sense, by its header. */
    std::int64_t claimed_end_ = 0;
    /** A search found no place up to here. */
    std::int64_t searched_to_ = -1;
    std::int64_t fragments_searched_to_ = -1;
    /** Where items behind damaged bytes were looked for last, and how far all such looks went. */
    struct Damage {
        std::int64_t from = -1;
        std::int64_t end = -1;
        std::int64_t items = -1;
    };
    Damage damage_;
    std::int64_t items_walked_ = 0;
    /** Bytes that searches went over; what the last one that found a place went over. */
    std::int64_t scanned_ = 0;
    std::int64_t found_from_ = -1;
    std::int64_t found_at_ = -1;
    /** Place of the last byte of the source that is not zero, found when first asked for. */
    std::int64_t last_nonzero_ = Not_Looked_For;
    int depth_ = 0;
    /** Behind bytes that are no elements, or that a value of another length took in. */
    std::int64_t damaged_to_ = -1;
    /** Sequences whose tags are lost. */
    int lost_sequences_ = 0;
    /** Each of them asks for many tags. */
    int torn_tags_ = 0;
    /** Each of them looks through its list. */
    int damaged_pixel_tags_ = 0;

    static constexpr std::int64_t Not_Looked_For = -2;
    static constexpr int Most_Lost_Sequences = 256;
};

}  // namespace lib_mend

#endif
