#include "mend/reading/reader.h"

#include "mend/io/deflate.h"
#include "mend/reading/elements.h"
#include "mend/reading/evidence.h"
#include "mend/reading/meta_group.h"
#include "mend/reading/meta_header.h"
#include "mend/reading/preamble.h"
#include "mend/reading/wrapper.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace lib_mend {

namespace {

constexpr Place Syntax_Place = {.has_tag = true, .tag = Transfer_Syntax_Tag, .vr = VR_UI};

/** The file is one that systems run: for Windows, Unix, macOS, or by an interpreter. */
bool Is_Program(const Bytes& preamble)
{
    constexpr std::string_view Beginnings[] = {"MZ",
                                               "\x7F"
                                               "ELF",
                                               "#!",
                                               "\xFE\xED\xFA\xCE",
                                               "\xFE\xED\xFA\xCF",
                                               "\xCE\xFA\xED\xFE",
                                               "\xCF\xFA\xED\xFE",
                                               "\xCA\xFE\xBA\xBE"};
    const std::string_view bytes(reinterpret_cast<const char*>(preamble.data()), preamble.size());
    return std::any_of(std::begin(Beginnings), std::end(Beginnings),
                       [&](std::string_view beginning) { return bytes.starts_with(beginning); });
}

/** What stands in front of group 0002 or the data set: read, and said. */
void Take_Preamble(Data_Set& set, const File_Start& start, Findings& findings)
{
    constexpr std::int64_t Prefix_Size = 4;
    Bytes preamble(static_cast<std::size_t>(start.preamble_size));
    const std::int64_t end = start.at - (start.bare ? 0 : Prefix_Size);
    preamble.resize(set.source->Read(end - start.preamble_size, preamble));
    if (!start.fault.empty()) {
        findings.Report(Fault::Preamble, Level::Change, {.offset = 0}, start.fault);
    }
    if (Is_Program(preamble)) {
        findings.Report(Fault::Preamble_Program, Level::Change, {.offset = 0},
                        "the preamble begins as a program does; the output has zeros there");
    } else if (std::any_of(preamble.begin(), preamble.end(),
                           [](unsigned char byte) { return byte != 0; })) {
        findings.Report(Fault::Preamble_Used, Level::Info, {.offset = 0},
                        "the preamble holds data of an application, which the output does not");
    }
    if (start.in_front > 0) {
        set.skipped.push_back({0, start.in_front, set.source});
    }
}

/** What a data set is read with. */
struct Reading_Costs {
    Spool_Limits limits;
    Memory_Budget budget = {};
};

/** Replaces the source by the inflated data set; without a declaration, it has to look like one. */
bool Inflate_Data_Set(Data_Set& set, std::int64_t start, bool is_declared, Reading_Costs& costs,
                      Findings& findings)
{
    const auto allowed = costs.budget.Is_Limited()
                             ? costs.budget
                             : Memory_Budget::Of_Deflated(set.source->Size() - start, costs.limits);
    Inflation how = {.largest = allowed.Largest_Inflated(),
                     .most_in_memory = costs.limits.in_memory,
                     .is_wanted = [is_declared](const std::shared_ptr<Source>& head) {
                         return is_declared || Is_Data_Set(*head, 0);
                     }};
    Inflated inflated = Inflate(*set.source, start, how);
    if (inflated.source == nullptr || inflated.source->Size() == 0) {
        how.frame = Deflate_Frame::Gzip_Or_Zlib;
        inflated = Inflate(*set.source, start, how);
    }
    if (inflated.source == nullptr || inflated.source->Size() == 0) {
        return false;
    }
    costs.budget = allowed;
    costs.budget.Take_Inflated(inflated.source->Size());
    if (how.frame != Deflate_Frame::Raw) {
        findings.Report(Fault::Deflated, Level::Change, {},
                        "the deflated data set stands in the wrapper of another format");
    }
    const std::int64_t behind = set.source->Size() - start - inflated.used;
    // A stream of odd length is padded with one NUL (PS3.5 section A.5).
    if (!inflated.complete) {
        findings.Report(Fault::Truncated, Level::Error, {},
                        "the deflated data set is damaged: " + inflated.error);
    } else if (behind > 1) {
        findings.Report(Fault::Deflated, Level::Change, {},
                        std::to_string(behind) + " bytes stand behind the deflated data set");
        set.skipped.push_back({start + inflated.used, behind, set.source});
    }
    set.source = inflated.source;
    set.encoding.deflated = true;
    return true;
}

void Report_Syntax(const Data_Set& set, const Encoding& expected, Findings& findings)
{
    const std::string found = "the data set is in " + Encoding_Text(set.encoding);
    if (set.bare) {
        findings.Report(Fault::Preamble, Level::Change, {},
                        "no preamble and no file meta information; " + found);
    } else if (set.meta.Head() == nullptr) {
        findings.Report(Fault::File_Meta, Level::Change, {}, "no file meta information; " + found);
    } else if (set.declared_syntax.empty()) {
        findings.Report(Fault::Transfer_Syntax, Level::Change, Syntax_Place,
                        "no transfer syntax is given; " + found);
    } else if (set.encoding.Code() != expected.Code() ||
               set.encoding.deflated != expected.deflated) {
        findings.Report(Fault::Transfer_Syntax, Level::Change, Syntax_Place,
                        "another transfer syntax is declared, but " + found,
                        {set.declared_syntax, set.syntax});
    }
}

/** Settles how the data set is encoded, and returns where it starts in the source. */
std::int64_t Settle_Encoding(Data_Set& set, std::int64_t start, Reading_Costs& costs,
                             Findings& findings)
{
    const bool declared = !set.declared_syntax.empty();
    const Encoding expected =
        declared ? Encoding_Of(set.declared_syntax) : Encoding{false, false, false, false};
    const Encoding* const wanted = declared ? &expected : nullptr;
    Encoding guess;
    bool likely = Guess_Encoding(*set.source, start, wanted, guess);
    // Chance finds elements in compressed bytes, but not several of them.
    const bool try_inflate =
        expected.deflated ? !Is_Data_Set(*set.source, start) : !declared && !likely;
    if (try_inflate && start < set.source->Size() &&
        Inflate_Data_Set(set, start, expected.deflated, costs, findings)) {
        start = 0;
        likely = Guess_Encoding(*set.source, start, wanted, guess);
    }
    const bool is_deflated = set.encoding.deflated;
    set.encoding = likely ? guess : expected;
    set.encoding.deflated = is_deflated;
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

/** A file that is none is told so in one line, and nothing else is done with it. */
void Refuse(Data_Set& set, Findings& findings)
{
    set.foreign = true;
    set.healed = true;
    findings.Report(Fault::Not_DICOM, Level::Error, {}, Foreign_Text(*set.source));
}

Data_Set Read(const std::shared_ptr<Source>& file, const Spool_Limits& limits, Findings& findings)
{
    Data_Set set;
    set.source = file;
    Reading_Costs costs = {limits};
    Unwrap(set, limits, costs.budget, findings);
    const File_Start begin = Find_Start(*set.source);
    std::int64_t start = 0;
    if (begin.found) {
        Take_Preamble(set, begin, findings);
        start = Read_Meta_Group(set, begin.at, findings);
        if (begin.at == 0 && set.meta.Head() != nullptr) {
            findings.Report(Fault::Preamble, Level::Change, {.offset = 0}, "no preamble");
        }
    } else if (!Inflate_Data_Set(set, 0, false, costs, findings)) {
        Refuse(set, findings);
        return set;
    }
    set.bare = (!begin.found || begin.bare) && set.meta.Head() == nullptr;
    start = Settle_Encoding(set, start, costs, findings);
    if (start >= set.source->Size()) {
        findings.Report(Fault::Unreadable, Level::Error, {}, "there is no data set");
        return set;
    }
    Read_Elements(set, start, set.encoding.Code(), findings, costs.budget);
    Return_Strays(set, findings);
    Settle_Pixel_Syntax(set, findings);
    findings.Settle_Errors();
    return set;
}

}  // namespace

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
        set.syntax = guess.empty() ? Encapsulated_Uncompressed_UID : guess;
        findings.Report(
            Fault::Fragments, guess.empty() ? Level::Error : Level::Change, At(*pixels, Path()),
            guess.empty() ? "the fragments are in no compression that is known, and declared as "
                            "uncompressed"
                          : "the pixel data is compressed, though no such transfer syntax is "
                            "declared",
            {set.declared_syntax, set.syntax});
    } else if (guess.empty()) {
        set.encoding.encapsulated = false;
        set.syntax = UID_Of(set.encoding);
        findings.Report(Fault::Transfer_Syntax, Level::Change, At(*pixels, Path()),
                        "the pixel data is not encapsulated, though a transfer syntax that "
                        "compresses is declared",
                        {set.declared_syntax, set.syntax});
    }
}

Data_Set Read_Data_Set(const std::shared_ptr<Source>& file, Findings& findings,
                       const Spool_Limits& limits)
{
    Data_Set set;
    const std::size_t faults = findings.Count_Of_Faults();
    try {
        set = Read(file, limits, findings);
        set.was_damaged = findings.Count_Of_Faults() != faults;
    } catch (const Spool_Failure& failure) {
        set.source = file;
        set.foreign = true;
        set.healed = true;
        set.unreadable = true;
        findings.Report(Fault::Memory, Level::Error, {},
                        std::string("cannot be unpacked: ") + failure.what());
        return set;
    }
    for (const Source* const source : {file.get(), set.source.get()}) {
        if (source->Failure() != 0 && !set.unreadable) {
            set.unreadable = true;
            findings.Report(Fault::Unreadable, Level::Error, {},
                            std::string("cannot be read: ") + std::strerror(source->Failure()));
        }
    }
    return set;
}

}  // namespace lib_mend
