// What was found in a file and what was done about it. Messages of the library and observations of
// the client end up in one list, each with its tag and its place in the file.
#ifndef LIB_MEND_FINDINGS_H
#define LIB_MEND_FINDINGS_H

#include "mend/findings/fault.h"
#include "mend/io/places.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lib_mend {

struct Tag {
    unsigned short group = 0;
    unsigned short element = 0;

    bool operator==(const Tag&) const = default;
    auto operator<=>(const Tag&) const = default;
};

inline constexpr Tag Directory_Sequence_Tag = {0x0004, 0x1220};
inline constexpr Tag Pixel_Data_Tag = {0x7FE0, 0x0010};
inline constexpr Tag Item_Tag = {0xFFFE, 0xE000};
inline constexpr Tag Item_End_Tag = {0xFFFE, 0xE00D};
inline constexpr Tag Sequence_End_Tag = {0xFFFE, 0xE0DD};
/** Tag and length of an item or a delimiter, in every encoding (PS3.5 section 7.5). */
inline constexpr std::int64_t Item_Header_Size = 8;

/** "gggg,eeee" in small hexadecimal letters. */
std::string Tag_Text(Tag tag);

/** Name of a tag: the dictionary's, or what is known of private and unknown ones. */
std::string Tag_Name(Tag tag);

enum class Level {
    Info,    ///< worth knowing, no fault
    Change,  ///< a fault that was mended, or will be
    Kept,    ///< a fault that is said and stays as it was read
    Error    ///< something is lost, or could not be read or written
};

/** A sequence and the number of one of its items, counted from 0. */
struct Path_Step {
    Tag sequence;
    int item = 0;

    bool operator==(const Path_Step&) const = default;
};

/** The way from the data set to a list of elements, the outermost sequence first. */
using Path = std::vector<Path_Step>;

/** Paths of more steps are not shown whole. */
inline constexpr std::size_t Most_Shown_Steps = 32;

/**
 * "0040,0275[0]/0008,0100". Of a path of very many steps the first and the last are shown, with
 * "..." between them.
 */
std::string Path_Text(const Path& path, Tag tag);

/** The sum of a path without steps. */
inline constexpr std::uint64_t Sum_Of_No_Steps = 0xCBF29CE484222325U;
/** Takes a step into the sum of a path, by which those are told apart that are not shown whole. */
constexpr std::uint64_t Sum_With(std::uint64_t sum, const Path_Step& step)
{
    const std::uint64_t bits = std::uint64_t{step.sequence.group} << 48U |
                               std::uint64_t{step.sequence.element} << 32U |
                               static_cast<std::uint32_t>(step.item);
    return (sum ^ bits) * 0x100000001B3U;
}

struct Finding {
    static constexpr std::int64_t Nowhere = -1;

    Level level = Level::Info;
    bool has_tag = false;
    Tag tag;
    /** VR of the record that the finding is about, 0 when it is not known. */
    unsigned short vr = 0;
    /** Of the element's tag in the source. */
    std::int64_t offset = Nowhere;
    /** What is wrong and what becomes of it. Quotes no value, but for messages of the library. */
    std::string text;
    Fault fault = Fault::Other;
    /** Path_Text of the element; empty for the file as a whole. */
    std::string path = {};
    /** Length of the value in the source, in bytes. */
    std::int64_t length = Nowhere;
    /** The value as it was and as it is now: bytes of the file, shown only where that is harmless. */
    std::string before = {};
    std::string after = {};
    /** The clause of the standard where that of the kind is too wide; null for that of the kind. */
    const char* clause = nullptr;
    /** Of the steps, where the path is not shown whole and its sum was asked for; 0 otherwise. */
    std::uint64_t path_sum = 0;
};

/** Where a finding stands: an element, an element that is missing, or only a place in the file. */
struct Place {
    bool has_tag = false;
    Tag tag = {};
    unsigned short vr = 0;
    /** Of the list around the element; null for the data set itself, or where it is not known. */
    const Path* path = nullptr;
    std::int64_t offset = Finding::Nowhere;
    std::int64_t length = Finding::Nowhere;
};

/** The value of an element before and after, for a finding. Long ones are cut when it is made. */
struct Values {
    std::string_view before;
    std::string_view after;
};

/** The record that is being worked on: the tag and the place of messages that name none. */
struct Subject {
    bool known = false;
    Tag tag;
    unsigned short vr = 0;
    std::int64_t offset = Finding::Nowhere;
    /** The way to its list; null for that of the data set. */
    const Path* path = nullptr;
};

inline unsigned short VR_Of(const DICOM_List& record)
{
    return record.vr != 0 ? record.vr : record.vr_default;
}

/** The place of a record in a list that `path` leads to; what was added stands nowhere in the source. */
inline Place At(const DICOM_List& record, const Path& path)
{
    const bool is_read = record.pos != 0 || record.data_pos != 0;
    Place place = {true, {record.group, record.element}, VR_Of(record), &path};
    place.offset = is_read ? Position_Of(record) : Finding::Nowhere;
    place.length = is_read ? Size_Of(record) : Finding::Nowhere;
    return place;
}

class Findings {
public:
    /**
     * Makes a finding; what is wrong is said in `text`, values stand apart from it.
     *
     * @param clause  a constant; null for that of the kind
     */
    void Report(Fault fault, Level level, const Place& place, std::string text,
                const Values& values = {}, const char* clause = nullptr);

    /**
     * The findings in the order in which they were made. Of one kind and level the first hundred are
     * kept, so that a file with a million faults costs no memory to speak of; see Sum_Up.
     */
    const std::vector<Finding>& All() const
    {
        return all_;
    }
    /** Number of findings made, with those that were not kept. */
    std::size_t Count() const
    {
        return made_;
    }
    /** The same with those that nobody took. */
    std::size_t Count_Of_Reports() const
    {
        return reports_;
    }
    /** Number of findings made without information. */
    std::size_t Count_Of_Faults() const
    {
        return faults_;
    }
    bool Has(Level level) const;
    /** Adds a finding for each kind of which some were not kept, saying how many. */
    void Sum_Up();
    /**
     * Adds what a later look found that was not said before: neither information nor, of the same
     * element, the same words. Places in what was looked at then are none in the file, and left out.
     */
    void Add_Later(const Findings& later);
    /** Of what is made from now on, nothing else is kept or counted. */
    void Take_Only(std::function<bool(const Finding&)> takes)
    {
        takes_ = std::move(takes);
    }
    /** What is kept from now on has the sums of paths that are not shown whole. */
    void Keep_Path_Sums()
    {
        keeps_path_sums_ = true;
    }
    /** Takes one message of the library. */
    void Take_Message(unsigned int severity, const char* text);
    /** The library's error texts since the last call, joined; they are not findings yet. */
    std::string Take_Errors();
    /** Turns error texts that nobody took into findings, and says when memory ran out. */
    void Settle_Errors();

    /** Memory ran out, so that a message or a value may be missing. */
    void Note_Out_Of_Memory() noexcept
    {
        out_of_memory_ = true;
    }
    bool Out_Of_Memory() const noexcept
    {
        return out_of_memory_;
    }

    Subject subject;

private:
    void Store(Finding finding, const Path* path = nullptr);

    std::vector<Finding> all_;
    std::function<bool(const Finding&)> takes_;
    /** How many there are of each kind and level. */
    std::map<std::pair<Fault, Level>, std::size_t> counts_;
    std::size_t reports_ = 0;
    std::size_t made_ = 0;
    std::size_t faults_ = 0;
    bool keeps_path_sums_ = false;
    std::vector<std::string> errors_;
    bool out_of_memory_ = false;
    bool out_of_memory_reported_ = false;
};

/** Sets the subject of a list of findings for the length of a scope. */
class About {
public:
    About(Findings& findings, const DICOM_List& record, const Path& path)
        : findings_(findings), saved_(findings.subject)
    {
        findings.subject = {
            true, {record.group, record.element}, VR_Of(record), Position_Of(record), &path};
    }
    About(const About&) = delete;
    About& operator=(const About&) = delete;
    ~About()
    {
        findings_.subject = saved_;
    }

private:
    Findings& findings_;
    Subject saved_;
};

/**
 * Directs the library's messages into a list of findings and sets the library to the current
 * standard, with private groups kept; what was set before comes back at the end of the scope.
 */
class Library_Session {
public:
    explicit Library_Session(Findings& findings);
    Library_Session(const Library_Session&) = delete;
    Library_Session& operator=(const Library_Session&) = delete;
    ~Library_Session();

private:
    static void Take(HWND handle, unsigned int severity, const char* text, void* context) noexcept;

    /** Where messages go at present; the channel tells its sink of before, but not its context. */
    static Findings* current_;

    Findings* saved_findings_;
    Error_Sink saved_sink_;
    int saved_warning_;
    int saved_report_;
    char saved_standard_;
    char saved_private_;
};

}  // namespace lib_mend

#endif
