// The whole way of a file through the client: what was mended reads back without a fault and is
// mended to itself, byte for byte; and nothing is lost without a word.
//
// Input: options of mending; the file.
#include "mend/interface/mend.h"
#include "fuzz_target.h"
#include "mend/reading/reader.h"

#include <iterator>
#include <set>
#include <vector>

namespace {

using namespace lib_mend;

Data_Set Read(std::span<const unsigned char> bytes, Findings& findings)
{
    return Read_Data_Set(Source::From_Image(bytes, "fuzz"), findings);
}

/** What was changed or could not be read, one a line. */
std::string Faults(const Findings& findings)
{
    std::string texts;
    for (const Finding& finding : findings.All()) {
        if (finding.level == Level::Change || finding.level == Level::Error) {
            texts += Tag_Text(finding.tag) + " " + finding.text + "\n";
        }
    }
    return texts;
}

/** The tags down to an element, and its value. */
struct Element {
    std::vector<Tag> path;
    Bytes value;

    auto operator<=>(const Element&) const = default;
};
using Elements = std::vector<Element>;

void Collect(const Data_Set& set, DICOM_List* list, std::vector<Tag>& path, Elements& elements)
{
    for (const DICOM_List& record : Records(list)) {
        if (Is_Delimiter(record) || record.element == 0x0000) {
            continue;
        }
        path.push_back(Tag_Of(record));
        elements.push_back({path, Has_Value(record) ? set.Value(record) : Bytes()});
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Collect(set, Item_Of(record, i), path, elements);
        }
        path.pop_back();
    }
}

/** All elements but delimiters and group lengths, sorted. */
Elements Elements_Of(const Data_Set& set)
{
    Elements elements;
    std::vector<Tag> path;
    Collect(set, set.records.Head(), path, elements);
    std::sort(elements.begin(), elements.end());
    return elements;
}

std::set<Tag> Tags_Told(const Findings& findings)
{
    std::set<Tag> tags;
    for (const Finding& finding : findings.All()) {
        tags.insert(finding.tag);
    }
    return tags;
}

void Require_Ascending(DICOM_List* list)
{
    for (const DICOM_List& record : Records(list)) {
        const bool ends = record.next == nullptr || Is_Delimiter(*record.next);
        fuzz::Require(Is_Delimiter(record) || ends || Tag_Of(record) < Tag_Of(*record.next),
                      "the tags of a mended list ascend");
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Require_Ascending(Item_Of(record, i));
        }
    }
}

struct Mended {
    bool done = false;
    Bytes bytes;
    std::string faults;
    std::set<Tag> told;
    Encoding encoding;
    Elements elements;
};

Mended Mend_File(std::span<const unsigned char> bytes, const Mend_Options& options)
{
    Mended mended;
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read(bytes, findings);
    mended.encoding = set.encoding;
    mended.elements = Elements_Of(set);
    Encoded_File file;
    mended.done = Mend(set, options, findings, file);
    mended.bytes = file.Joined();
    mended.faults = Faults(findings);
    mended.told = Tags_Told(findings);
    fuzz::Require(mended.done || findings.Has(Level::Error), "a failure has a reason");
    return mended;
}

/** Each element that is not there any more, or has another value, was told of. */
void Require_Told(const Mended& mended, const Elements& kept)
{
    Elements lost;
    std::set_difference(mended.elements.begin(), mended.elements.end(), kept.begin(), kept.end(),
                        std::back_inserter(lost));
    for (const Element& element : lost) {
        const bool told = std::any_of(element.path.begin(), element.path.end(),
                                      [&](Tag tag) { return mended.told.count(tag) != 0; });
        if (!told) {
            std::fprintf(stderr, "%s--- %s\n", mended.faults.c_str(),
                         Tag_Text(element.path.back()).c_str());
        }
        fuzz::Require(told, "nothing is lost without a word");
    }
}

void Check_Output(const Mended& mended)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read(mended.bytes, findings);
    const std::string faults = Faults(findings);
    if (!faults.empty()) {
        std::fprintf(stderr, "%s--- reading back:\n%s", mended.faults.c_str(), faults.c_str());
    }
    fuzz::Require(faults.empty(), "a mended file is read without a fault");
    Require_Ascending(set.records.Head());
    // Values of another byte order cannot be compared.
    if (set.encoding.big_endian == mended.encoding.big_endian) {
        Require_Told(mended, Elements_Of(set));
    }
}

Mend_Options Options(std::uint8_t byte)
{
    Mend_Options options;
    options.syntax = static_cast<Output_Syntax>(byte & 3);
    options.drop_private = (byte & 4) != 0;
    options.group_lengths = (byte & 8) != 0;
    options.defined_lengths = (byte & 16) != 0;
    options.heal.strict = (byte & 32) != 0;
    options.heal.replace_uids = (byte & 64) != 0;
    return options;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const Mend_Options options = Options(input.Byte());
    const Mended once = Mend_File(input.Rest(), options);
    if (!once.done) {
        return 0;
    }
    Check_Output(once);
    const Mended twice = Mend_File(once.bytes, options);
    if (!twice.faults.empty() || twice.bytes != once.bytes) {
        std::fprintf(stderr, "%s--- mended again:\n%s", once.faults.c_str(), twice.faults.c_str());
    }
    fuzz::Require(twice.done && twice.faults.empty(), "a mended file needs no mending");
    fuzz::Require(twice.bytes == once.bytes, "a mended file is mended to itself");
    return 0;
}
