#include "diff.h"

#include "commands.h"
#include "differences.h"
#include "listing.h"
#include "mend/findings/json_text.h"
#include "mend/findings/letters.h"
#include "mend/interface/element_value.h"
#include "mend/reading/tree.h"
#include "output_buffer.h"
#include "pager.h"
#include "value_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include <unistd.h>

namespace dicom_mend {

namespace {

using lib_mend::Data_Set;
using lib_mend::Path;
using lib_mend::Tag_Of;
using lib_mend::VR_Of;

constexpr std::string_view Gone_Colour = "\033[31m";
constexpr std::string_view Added_Colour = "\033[32m";

std::string Count_Of(int count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

int Elements_In(const DICOM_List* item)
{
    int count = 0;
    for (; item != nullptr; item = item->next) {
        count += lib_mend::Is_Delimiter(*item) ? 0 : 1;
    }
    return count;
}

/** One of the two data sets, in words. */
class Side {
public:
    explicit Side(const Data_Set& set) : set_(set), values_(set)
    {
    }

    /** A value, or how many there are of what an element or an item holds. */
    std::string Text(const DICOM_List& record)
    {
        if (lib_mend::Is_Delimiter(record)) {
            return Count_Of(Elements_In(&record), "element");
        }
        if (lib_mend::Holds_Items(record) || lib_mend::Holds_Fragments(record)) {
            return Count_Of(lib_mend::Item_Count(record),
                            lib_mend::Holds_Items(record) ? "item" : "fragment");
        }
        // The reader remembers, and only for that changes what it is given.
        const lib_mend::Character_Set& characters =
            values_.Characters_Of(const_cast<DICOM_List&>(record));
        std::string text;
        Append_Value(text, set_, record, characters, UID_Form::Number_First);
        return text;
    }

private:
    const Data_Set& set_;
    lib_mend::Value_Reader values_;
};

/** "0008,1140[0]/0008,1150", and "0008,1140[0]" for an item. */
std::string Path_Of(const Difference& difference)
{
    const DICOM_List& record =
        difference.before != nullptr ? *difference.before : *difference.after;
    if (!lib_mend::Is_Delimiter(record)) {
        return Path_Text(difference.way, Tag_Of(record));
    }
    constexpr std::size_t Tag_And_Slash = 10;
    std::string text = Path_Text(difference.way, {});
    text.erase(text.size() - Tag_And_Slash);
    return text;
}

/** Where two texts begin to differ, at the beginning of a letter. */
std::size_t Shared_Front(const std::string& left, const std::string& right)
{
    const std::size_t both = std::min(left.size(), right.size());
    auto shared = static_cast<std::size_t>(
        std::mismatch(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(both), right.begin())
            .first -
        left.begin());
    while (shared > 0 && shared < both &&
           (static_cast<unsigned char>(left[shared]) & 0xC0U) == 0x80) {
        --shared;
    }
    return shared;
}

class Printer {
public:
    Printer(const Data_Set& before, const Data_Set& after, Diff_Format format,
            const Terminal& terminal)
        : before_(before), after_(after), format_(format), terminal_(terminal)
    {
    }

    void Print(const Difference& difference)
    {
        std::string left = difference.before != nullptr ? before_.Text(*difference.before) : "";
        std::string right = difference.after != nullptr ? after_.Text(*difference.after) : "";
        const bool look_alike = difference.before != nullptr && difference.after != nullptr &&
                                left == right &&
                                VR_Of(*difference.before) == VR_Of(*difference.after);
        if (look_alike) {
            right += " (other from byte " + std::to_string(difference.offset) + " on)";
        }
        if (format_ == Diff_Format::JSON) {
            Print_JSON(difference, left, right);
            return;
        }
        const std::string path = Shown_Path(Path_Of(difference));
        const std::string gone =
            difference.before != nullptr ? Front_Of_Line(path, *difference.before) : "";
        const std::string added =
            difference.after != nullptr ? Front_Of_Line(path, *difference.after) : "";
        if (!gone.empty() && !added.empty() && terminal_.is_terminal) {
            Show_Difference(left, right, std::max(gone.size(), added.size()));
        }
        if (!gone.empty()) {
            Print_Line('-', Gone_Colour, gone, left);
        }
        if (!added.empty()) {
            Print_Line('+', Added_Colour, added, right);
        }
    }

private:
    /** The end of a path that leaves no room for what stands there: it tells which element it is. */
    std::string Shown_Path(std::string path) const
    {
        const std::size_t most = std::max<std::size_t>(terminal_.width / 5 * 2, 16);
        if (terminal_.is_terminal && path.size() > most) {
            const std::size_t step = path.find('/', path.size() - most);
            path.replace(0, step != path.npos ? step : path.size() - most, "...");
        }
        return path;
    }

    /** Leaves out as much of what two values begin with that their lines do not end before they differ. */
    void Show_Difference(std::string& left, std::string& right, std::size_t front) const
    {
        constexpr std::size_t Shown = 16;
        constexpr std::string_view Gap = "...";
        constexpr std::size_t Sign = 2;
        const std::size_t shared = Shared_Front(left, right);
        const std::size_t rest =
            std::min(std::max(left.size(), right.size()) - shared, Shown) + Gap.size();
        const std::size_t taken = Sign + front + rest + Gap.size();
        const std::size_t kept = terminal_.width > taken ? terminal_.width - taken : 0;
        if (shared <= kept + Gap.size()) {
            return;
        }
        std::size_t cut = shared - kept;
        while (cut < shared && (static_cast<unsigned char>(left[cut]) & 0xC0U) == 0x80) {
            ++cut;
        }
        left.replace(0, cut, Gap);
        right.replace(0, cut, Gap);
    }

    static std::string Front_Of_Line(const std::string& path, const DICOM_List& record)
    {
        std::string front = path + ' ';
        if (!lib_mend::Is_Delimiter(record)) {
            Append_VR(front, VR_Of(record));
            front += ' ';
            lib_mend::Append_Printable(front, Element_Name(record));
            front += ": ";
        }
        return front;
    }

    void Print_Line(char sign, std::string_view colour, const std::string& front,
                    const std::string& text)
    {
        std::string line = terminal_.colours ? std::string(colour) : std::string();
        line += sign;
        line += ' ';
        line += text.empty() ? front.substr(0, front.find_last_not_of(": ") + 1) : front + text;
        line += terminal_.colours ? No_Colour : std::string_view();
        out_.Text() += terminal_.is_terminal ? Fitted(line, terminal_.width) : line;
        out_.Text() += '\n';
        out_.Line_Done();
    }

    void Append_Side(const char* key, const DICOM_List* record, const std::string& text)
    {
        if (record == nullptr) {
            return;
        }
        std::string& line = out_.Text();
        line.append(",\"").append(key).append("\":{");
        if (!lib_mend::Is_Delimiter(*record)) {
            std::string vr;
            Append_VR(vr, VR_Of(*record));
            line += "\"vr\":" + lib_mend::JSON_Text(vr);
            if (lib_mend::Has_Value(*record)) {
                line += ",\"length\":" + std::to_string(lib_mend::Size_Of(*record));
            }
            line += ',';
        }
        line += "\"value\":" + lib_mend::JSON_Text(text) + "}";
    }

    void Print_JSON(const Difference& difference, const std::string& left, const std::string& right)
    {
        const DICOM_List& record =
            difference.after != nullptr ? *difference.after : *difference.before;
        const char* const change = difference.before == nullptr  ? "added"
                                   : difference.after == nullptr ? "gone"
                                                                 : "changed";
        std::string& line = out_.Text();
        line += std::string("{\"change\":\"") + change +
                "\",\"path\":" + lib_mend::JSON_Text(Path_Of(difference));
        if (!lib_mend::Is_Delimiter(record)) {
            line += ",\"name\":" + lib_mend::JSON_Text(Element_Name(record));
        }
        Append_Side("before", difference.before, left);
        Append_Side("after", difference.after, right);
        line += "}\n";
        out_.Line_Done();
    }

    Side before_;
    Side after_;
    Diff_Format format_;
    const Terminal& terminal_;
    Output_Buffer out_;
};

}  // namespace

bool Print_Differences(const Data_Set& before, const Data_Set& after, Diff_Format format,
                       const Terminal& terminal)
{
    Printer printer(before, after, format, terminal);
    bool is_any = false;
    Find_Differences(before, after, [&](const Difference& difference) {
        printer.Print(difference);
        is_any = true;
    });
    return is_any;
}

Exit_Status Run_Diff(const Diff_Request& request)
{
    const Terminal terminal = Look_At(STDOUT_FILENO, request.looks.colours);
    Pager pager(terminal, request.looks);
    std::vector<Data_Set> sets;
    lib_mend::Findings unasked;
    const lib_mend::Library_Session names(unasked);
    Exit_Status status = Exit_Clean;
    for (const std::string& file : request.files) {
        Work_Item item;
        item.path = file;
        File_Record record;
        record.path = Name_Of(file);
        lib_mend::Findings findings;
        std::optional<Data_Set> set = Read_Item(item, findings, record);
        if (set) {
            Describe(*set, findings, record);
            sets.push_back(std::move(*set));
        }
        // Faults are what check tells of; here it matters whether all of a file was read.
        Report(record, Verbosity::Quiet, false);
        status = std::max(status, record.failure.empty() && !sets.empty() && !sets.back().foreign
                                      ? Exit_Clean
                                      : Exit_Failure);
    }
    if (status == Exit_Clean &&
        Print_Differences(sets.front(), sets.back(), request.format, terminal)) {
        status = Exit_Findings;
    }
    return pager.Finish(status);
}

}  // namespace dicom_mend
