#include "list.h"

#include "listing.h"
#include "mend/json/to_json.h"
#include "mend/reading/tree.h"
#include "value_text.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace dicom_mend {

namespace {

using lib_mend::Data_Set;
using lib_mend::Findings;
using lib_mend::Path;
using lib_mend::Tag_Of;
using lib_mend::VR_Of;

/** The way to a list, with a slash behind it; for all the elements of the list it is made once. */
class Prefix {
public:
    const std::string& Of(const Path& path)
    {
        // An element of the list around stands in front of each list.
        if (path.size() != steps_ || (steps_ > 0 && path.back().item != item_)) {
            steps_ = path.size();
            item_ = steps_ > 0 ? path.back().item : 0;
            text_ = Path_Text(path, {});
            text_.erase(text_.size() - Tag_Size);
        }
        return text_;
    }

private:
    static constexpr std::size_t Tag_Size = 9;

    std::string text_;
    std::size_t steps_ = 0;
    int item_ = 0;
};

void Print_TSV_List(const Data_Set& set, const Selection& selection, const std::string& front,
                    DICOM_List* list)
{
    constexpr std::size_t Shown_Bytes = 64;
    Output_Buffer out;
    Prefix prefix;
    lib_mend::For_Each_Element(list, [&](const DICOM_List& record, const Path& path) {
        if (!selection.Shows(record)) {
            return;
        }
        std::string& line = out.Text();
        line += front;
        line += prefix.Of(path);
        Append_Tag(line, Tag_Of(record));
        line += '\t';
        Append_VR(line, VR_Of(record));
        line += '\t';
        Append_Number(line, Given_Length(record));
        line += '\t';
        // What a sequence holds follows in lines of its own.
        if (VR_Of(record) != VR_SQ) {
            Append_Hexadecimal(line, Front_Of_Value(set, record, Shown_Bytes).Bytes());
        }
        line += '\n';
        out.Line_Done();
    });
}

}  // namespace

void Print_Text(const Data_Set& set, const Selection& selection, const Terminal& terminal)
{
    Output_Buffer out;
    Listing listing(set, selection, terminal, out);
    listing.Print(set.meta.Head());
    listing.Print(set.records.Head());
}

void Print_TSV(const Data_Set& set, const Selection& selection, const std::string& front)
{
    Print_TSV_List(set, selection, front, set.meta.Head());
    Print_TSV_List(set, selection, front, set.records.Head());
}

void Print_JSON(const Data_Set& set, const Selection& selection, Findings& findings)
{
    if (set.foreign) {
        std::fputs("null", stdout);
        return;
    }
    lib_mend::JSON_Options options;
    if (!selection.Is_All()) {
        options.shows = [&selection](const DICOM_List& record) {
            return selection.Shows(record);
        };
    }
    To_JSON(set, options, findings, [](std::string_view text) {
        return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    });
}

}  // namespace dicom_mend
