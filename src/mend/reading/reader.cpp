#include "mend/reading/reader.h"

#include "mend/io/deflate.h"
#include "mend/reading/element_loop.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <new>
#include <utility>

namespace lib_mend {

namespace {

constexpr Tag Transfer_Syntax_Tag = {0x0002, 0x0010};
constexpr Tag Meta_Length_Tag = {0x0002, 0x0000};
constexpr std::int64_t Preamble_Size = 128;

/** Finds the place behind "DICM", with or without the preamble (PS3.10 section 7.1). */
std::int64_t Skip_Preamble(const Source& file, Data_Set& set, Findings& findings)
{
    constexpr std::array<unsigned char, 4> Prefix = {'D', 'I', 'C', 'M'};
    std::array<unsigned char, 4> bytes = {};
    const auto size = static_cast<std::int64_t>(Prefix.size());
    if (file.Read(Preamble_Size, bytes) == bytes.size() && bytes == Prefix) {
        std::array<unsigned char, Preamble_Size> preamble = {};
        file.Read(0, preamble);
        set.preamble_in_use = std::any_of(preamble.begin(), preamble.end(),
                                          [](unsigned char byte) { return byte != 0; });
        return Preamble_Size + size;
    }
    if (file.Read(0, bytes) == bytes.size() && bytes == Prefix) {
        findings.Add(Level::Change, "\"DICM\" stands without a preamble");
        return size;
    }
    findings.Add(Level::Change, "no preamble");
    return 0;
}

/** Compares the group length of the file meta information with what was read. */
void Check_Meta_Length(const Data_Set& set, std::int64_t end, Findings& findings)
{
    const DICOM_List* const length = Find_Record(set.meta.Head(), Meta_Length_Tag);
    if (length == nullptr) {
        findings.Add(Level::Change, Meta_Length_Tag, Finding::Nowhere,
                     "file meta information without group length");
        return;
    }
    const Bytes value = set.Value(*length);
    const std::int64_t given = value.size() == 4 ? Get_Int(0, value.data()) : -1;
    const std::int64_t found = end - length->data_pos - length->size;
    if (given != found) {
        findings.Add(Level::Change, *length,
                     "file meta group length is " + std::to_string(given) + ", but " +
                         std::to_string(found) + " bytes follow");
    }
}

/** Reads group 0002 and returns the position of the data set. */
std::int64_t Read_Meta_Group(Data_Set& set, std::int64_t start, Findings& findings)
{
    Element_Loop loop(set.source, start, DICOM_Order_Explicit_VR, findings);
    set.meta = loop.Read_Meta();
    if (set.meta.Head() == nullptr) {
        findings.Add(Level::Change, "no file meta information");
        return loop.Position();
    }
    // The source may become that of an inflated data set, so nothing of the group stays in it.
    for (DICOM_List& record : Records(set.meta.Head())) {
        set.Load(record);
        if (record.group != Transfer_Syntax_Tag.group || !Has_Value(record)) {
            findings.Add(Level::Change, record, "does not belong in the file meta information");
            record.flags |= DICOM_Mark_Deleted;
        }
    }
    Check_Meta_Length(set, loop.Position(), findings);
    if (const DICOM_List* const syntax = Find_Record(set.meta.Head(), Transfer_Syntax_Tag)) {
        set.declared_syntax = Trimmed(set.Value(*syntax));
        if (!set.declared_syntax.empty() && !Is_UID(set.declared_syntax)) {
            findings.Add(Level::Change, *syntax, "is no UID");
            set.declared_syntax.clear();
        }
    }
    return loop.Position();
}

/** Replaces the source by the inflated data set. */
bool Inflate_Data_Set(Data_Set& set, std::int64_t start, Memory_Budget& budget, Findings& findings)
{
    const auto allowed = Memory_Budget::Of_Deflated(set.source->Size() - start);
    Inflated inflated = Inflate(*set.source, start, allowed.Largest_Inflated());
    if (inflated.bytes.empty()) {
        return false;
    }
    budget = allowed;
    budget.Take_Inflated(std::ssize(inflated.bytes));
    const std::int64_t behind = set.source->Size() - start - inflated.used;
    // A stream of odd length is padded with one NUL (PS3.5 section A.5).
    if (!inflated.complete) {
        findings.Add(Level::Error, "deflated data set: " + inflated.error);
    } else if (behind > 1) {
        findings.Add(Level::Change, std::to_string(behind) + " bytes behind the deflated data set");
    }
    set.source = Source::From_Bytes(std::move(inflated.bytes), set.source->Name());
    return true;
}

void Report_Syntax(const Data_Set& set, const Encoding& expected, Findings& findings)
{
    const std::string found = "the data set is in " + Encoding_Text(set.encoding);
    if (set.declared_syntax.empty()) {
        findings.Add(Level::Change, Transfer_Syntax_Tag, Finding::Nowhere,
                     "no transfer syntax is given; " + found);
    } else if (set.encoding.Code() != expected.Code()) {
        findings.Add(Level::Change, Transfer_Syntax_Tag, Finding::Nowhere,
                     "transfer syntax " + set.declared_syntax + " is declared, but " + found);
    }
}

/** Settles how the data set is encoded, and returns where it starts in the source. */
std::int64_t Settle_Encoding(Data_Set& set, std::int64_t start, Memory_Budget& budget,
                             Findings& findings)
{
    const bool declared = !set.declared_syntax.empty();
    const Encoding expected =
        declared ? Encoding_Of(set.declared_syntax) : Encoding{false, false, false, false};
    const Encoding* const wanted = declared ? &expected : nullptr;
    Encoding guess;
    bool likely = Guess_Encoding(*set.source, start, wanted, guess);
    const bool try_inflate = expected.deflated || (!declared && !likely);
    if (try_inflate && start < set.source->Size() &&
        Inflate_Data_Set(set, start, budget, findings)) {
        start = 0;
        likely = Guess_Encoding(*set.source, start, wanted, guess);
        guess.deflated = true;
    }
    set.encoding = likely ? guess : expected;
    set.encoding.deflated = guess.deflated;
    set.encoding.encapsulated = expected.encapsulated && set.encoding.Code() == expected.Code();
    const bool as_declared = declared && set.encoding == expected;
    set.syntax = as_declared ? set.declared_syntax : std::string(UID_Of(set.encoding));
    if (start < set.source->Size()) {
        Report_Syntax(set, expected, findings);
    }
    return start;
}

/** The first bytes of the first fragment that holds any; the first item is the offset table. */
Bytes First_Fragment(const Data_Set& set, const DICOM_List& pixels)
{
    constexpr std::size_t Enough = 65536;
    for (int i = 1; Item_Of(pixels, i) != nullptr; ++i) {
        Bytes bytes = set.Value(*Item_Of(pixels, i), Enough);
        if (!bytes.empty()) {
            return bytes;
        }
    }
    return {};
}

/** Brings the transfer syntax in line with the form in which the pixel data really stands. */
void Settle_Pixel_Syntax(Data_Set& set, Findings& findings)
{
    const DICOM_List* const pixels = Find_Record(set.records.Head(), Pixel_Data_Tag);
    if (pixels == nullptr || pixels->size == 0) {
        return;
    }
    const bool has_fragments = pixels->size == DICOM_Undefined_Length;
    if (has_fragments == set.encoding.encapsulated) {
        return;
    }
    constexpr std::size_t Enough = 65536;
    const Bytes frame = has_fragments ? First_Fragment(set, *pixels) : set.Value(*pixels, Enough);
    const std::string_view guess = Guess_Pixel_Syntax(frame);
    if (has_fragments) {
        set.encoding.encapsulated = true;
        set.syntax = guess;
        findings.Add(guess.empty() ? Level::Error : Level::Change, *pixels,
                     guess.empty() ? "pixel data is encapsulated in an unknown transfer syntax"
                                   : "pixel data is encapsulated in transfer syntax " + set.syntax);
    } else if (guess.empty()) {
        set.encoding.encapsulated = false;
        set.syntax = UID_Of(set.encoding);
        findings.Add(Level::Change, *pixels,
                     "pixel data is not encapsulated, though transfer syntax " +
                         set.declared_syntax + " is declared");
    }
}

/** Gives findings of the formatting, which name a tag only, the place of its first record. */
void Add_Places(Findings& findings, std::size_t first, DICOM_List* flat)
{
    if (first == findings.All().size()) {
        return;
    }
    std::map<Tag, std::int64_t> places;
    for (const DICOM_List& record : Records(flat)) {
        places.emplace(Tag_Of(record), record.pos);
    }
    findings.Add_Places(first, places);
}

Data_Set Read(const std::shared_ptr<Source>& file, Findings& findings)
{
    Data_Set set;
    set.source = file;
    std::int64_t start = Skip_Preamble(*file, set, findings);
    start = Read_Meta_Group(set, start, findings);
    Memory_Budget budget;
    start = Settle_Encoding(set, start, budget, findings);
    if (start >= set.source->Size()) {
        findings.Add(Level::Error, "there is no data set");
        return set;
    }
    Element_Loop loop(set.source, start, set.encoding.Code(), findings, budget);
    const Record_List flat = loop.Read_All();
    set.too_deep = loop.Too_Deep();
    const std::size_t first = findings.All().size();
    set.records = Record_List(DICOM_Attribute_Format(nullptr, flat.Head()));
    if (set.records.Head() == nullptr && flat.Head() != nullptr) {
        throw std::bad_alloc();
    }
    Add_Places(findings, first, flat.Head());
    Settle_Pixel_Syntax(set, findings);
    findings.Settle_Errors();
    return set;
}

}  // namespace

Data_Set Read_Data_Set(const std::shared_ptr<Source>& file, Findings& findings)
{
    Data_Set set = Read(file, findings);
    if (file->Failure() != 0) {
        set.unreadable = true;
        findings.Add(Level::Error,
                     std::string("cannot be read: ") + std::strerror(file->Failure()));
    }
    return set;
}

}  // namespace lib_mend
