#include "mend/findings/findings.h"

#include "mend/findings/attributes.h"
#include "mend/findings/faults.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <numeric>
#include <set>
#include <string_view>
#include <utility>

namespace lib_mend {

namespace {

/** Severity words that this client gives to the library's warnings and reports. */
constexpr int Severity_Warning = 3;
constexpr int Severity_Report = 4;
constexpr unsigned int Severity_Place = 0x80000001U;
constexpr unsigned int Severity_Error = 2;
constexpr unsigned int Severity_Memory = 1;

/** Findings of one kind and level that are kept. */
constexpr std::size_t Most_Of_A_Kind = 100;

/** Bytes of a value that a finding keeps. */
constexpr std::size_t Longest_Quote = 256;

/** Takes out the one-byte colour and emphasis codes; 0xF0 and 0xF1 may also start a UTF-8 letter. */
std::string Without_Markup(std::string_view text)
{
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool emphasis = byte == 0xF0 || byte == 0xF1;
        const bool starts_letter = emphasis && i + 1 < text.size() &&
                                   (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80;
        if (byte == 1 || byte == 2 || byte == 4 || byte == 5 || byte == 6 ||
            (emphasis && !starts_letter)) {
            continue;
        }
        plain += text[i];
    }
    return plain;
}

void Skip_Blanks(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

/** Takes the words off the front that only say how serious a message is. */
void Skip_Heading(std::string_view& text)
{
    Skip_Blanks(text);
    for (const std::string_view heading : {"WARNING:", "Warning:", "ERROR:"}) {
        if (text.starts_with(heading)) {
            text.remove_prefix(heading.size());
            break;
        }
    }
    Skip_Blanks(text);
}

/** Length of "(gggg,eeee)". */
constexpr std::size_t Tag_Size = 11;

/** Reads a tag in the form "(gggg,eeee)" at the front of a text. */
bool Parse_Tag(std::string_view text, Tag& tag)
{
    unsigned int group = 0;
    unsigned int element = 0;
    char close = 0;
    const std::string part(text.substr(0, Tag_Size));
    if (part.size() != Tag_Size ||
        std::sscanf(part.c_str(), "(%4x,%4x%c", &group, &element, &close) != 3 || close != ')') {
        return false;
    }
    tag = {static_cast<unsigned short>(group), static_cast<unsigned short>(element)};
    return true;
}

/** The first tag that a message names, wherever it stands. */
bool Find_Tag(std::string_view text, Tag& tag)
{
    std::size_t at = text.find('(');
    while (at != std::string_view::npos && !Parse_Tag(text.substr(at), tag)) {
        at = text.find('(', at + 1);
    }
    return at != std::string_view::npos;
}

/** Reports that tell of a property of the data set which is no fault. */
/** Healing makes the length of every value even, and tells the place of it. */
bool Is_Said_By_Healing(std::string_view text)
{
    return text.find("tag lenght is odd in tag") != std::string_view::npos;
}

bool Is_Information(std::string_view text)
{
    return text.find("Retired from DICOM") != std::string_view::npos ||
           text.find("Explicit VR (=") != std::string_view::npos;
}

}  // namespace

std::string Tag_Text(Tag tag)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string text(9, ',');
    for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t shift = 4 * (3 - i);
        text[i] = Digits[tag.group >> shift & 0xF];
        text[i + 5] = Digits[tag.element >> shift & 0xF];
    }
    return text;
}

std::string Path_Text(const Path& path, Tag tag)
{
    constexpr std::size_t Shown_Steps = Most_Shown_Steps / 2;
    std::string text;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (i == Shown_Steps && path.size() > Most_Shown_Steps) {
            text += ".../";
            i = path.size() - Shown_Steps;
        }
        text += Tag_Text(path[i].sequence) + '[' + std::to_string(path[i].item) + "]/";
    }
    return text + Tag_Text(tag);
}

std::string Tag_Name(Tag tag)
{
    if (const std::optional<Attribute> attribute = Find_Attribute(tag)) {
        return attribute->name;
    }
    if (tag.element == 0) {
        return "Group Length";
    }
    if (tag.group % 2 != 0) {
        return tag.element >= 0x10 && tag.element <= 0xFF ? "Private Creator" : "Private Element";
    }
    return "Unknown Element";
}

void Findings::Report(Fault fault, Level level, const Place& place, std::string text,
                      const Values& values, const char* clause)
{
    Finding finding = {level, place.has_tag, place.tag, place.vr, place.offset, std::move(text)};
    finding.fault = fault;
    if (place.has_tag) {
        static const Path at_the_top;
        finding.path = Path_Text(place.path != nullptr ? *place.path : at_the_top, place.tag);
    }
    finding.length = place.length;
    finding.before = values.before.substr(0, Longest_Quote);
    finding.after = values.after.substr(0, Longest_Quote);
    finding.clause = clause;
    Store(std::move(finding), place.path);
}

void Findings::Store(Finding finding, const Path* path)
{
    ++reports_;
    if (takes_ && !takes_(finding)) {
        return;
    }
    ++made_;
    faults_ += finding.level != Level::Info ? 1 : 0;
    if (counts_[{Kind_Of(finding).fault, finding.level}]++ < Most_Of_A_Kind) {
        if (keeps_path_sums_ && path != nullptr && path->size() > Most_Shown_Steps) {
            finding.path_sum =
                std::accumulate(path->begin(), path->end(), Sum_Of_No_Steps, &Sum_With);
        }
        all_.push_back(std::move(finding));
    }
}

bool Findings::Has(Level level) const
{
    return std::any_of(counts_.begin(), counts_.end(),
                       [level](const auto& entry) { return entry.first.second == level; });
}

void Findings::Add_Later(const Findings& later)
{
    const auto words = [](const Finding& finding) {
        std::string text = finding.path + ' ' + Kind_Of(finding).name + ' ' + finding.text;
        std::erase_if(text, [](char c) { return c >= '0' && c <= '9'; });
        return text;
    };
    std::set<std::string> said;
    std::transform(all_.begin(), all_.end(), std::inserter(said, said.end()), words);
    for (const Finding& finding : later.all_) {
        if (finding.level != Level::Info && said.insert(words(finding)).second) {
            Finding added = finding;
            added.offset = Finding::Nowhere;
            Store(std::move(added));
        }
    }
}

void Findings::Sum_Up()
{
    for (auto& [key, count] : counts_) {
        if (count > Most_Of_A_Kind) {
            Finding more;
            more.fault = key.first;
            more.level = key.second;
            more.text = "and " + std::to_string(count - Most_Of_A_Kind) + " more like this";
            all_.push_back(std::move(more));
            count = Most_Of_A_Kind;
        }
    }
}

void Findings::Take_Message(unsigned int severity, const char* message)
{
    if (severity == Severity_Place || Is_Said_By_Healing(message)) {
        return;
    }
    if (severity == Severity_Memory) {
        Note_Out_Of_Memory();
    }
    const std::string plain = Without_Markup(message);
    std::string_view text = plain;
    Skip_Heading(text);
    if (severity == Severity_Memory || severity == Severity_Error) {
        errors_.emplace_back(text);
        return;
    }

    Finding finding;
    finding.level = Is_Information(text) ? Level::Info : Level::Change;
    finding.has_tag = Find_Tag(text, finding.tag);
    if (!finding.has_tag) {
        finding.has_tag = subject.known;
        finding.tag = subject.tag;
    }
    if (subject.known && finding.tag == subject.tag) {
        finding.offset = subject.offset;
        finding.vr = subject.vr;
        finding.path = Path_Text(subject.path != nullptr ? *subject.path : Path(), finding.tag);
    }
    Tag front;
    if (Parse_Tag(text, front)) {
        text.remove_prefix(Tag_Size);
        Skip_Blanks(text);
    }
    const std::string repetition = " in tag (" + Tag_Text(finding.tag) + ")";
    if (text.ends_with(repetition)) {
        text.remove_suffix(repetition.size());
    }
    finding.text = text;
    Store(std::move(finding));
}

std::string Findings::Take_Errors()
{
    std::string joined;
    for (const std::string& error : errors_) {
        joined += (joined.empty() ? "" : "; ") + error;
    }
    errors_.clear();
    return joined;
}

void Findings::Settle_Errors()
{
    if (!errors_.empty()) {
        Report(Fault::Other, Level::Error,
               {subject.known, subject.tag, subject.vr, nullptr, subject.offset}, Take_Errors());
    }
    if (out_of_memory_ && !out_of_memory_reported_) {
        Report(Fault::Memory, Level::Error, {}, "there is not enough memory");
        out_of_memory_reported_ = true;
    }
}

Findings* Library_Session::current_ = nullptr;

Library_Session::Library_Session(Findings& findings)
    : saved_findings_(std::exchange(current_, &findings)),
      saved_sink_(Error_Sink_Set(&Library_Session::Take, nullptr)),
      saved_warning_(Flag_Error_Warning), saved_report_(Flag_Error_Report),
      saved_standard_(DICOM_Flag_Current_Standard), saved_private_(Flag_DICOM_Propriatery)
{
    Flag_Error_Warning = Severity_Warning;
    Flag_Error_Report = Severity_Report;
    DICOM_Flag_Current_Standard = 1;
    Flag_DICOM_Propriatery = 1;
}

Library_Session::~Library_Session()
{
    Error_Sink_Set(saved_sink_, nullptr);
    current_ = saved_findings_;
    Flag_Error_Warning = saved_warning_;
    Flag_Error_Report = saved_report_;
    DICOM_Flag_Current_Standard = saved_standard_;
    Flag_DICOM_Propriatery = saved_private_;
}

void Library_Session::Take(HWND, unsigned int severity, const char* text, void*) noexcept
{
    constexpr unsigned int Any_Trace = 0x90002000U;
    try {
        if ((severity & 0xFFFFFFF0U) == Any_Trace) {
            std::fprintf(stderr, "%s\n", Without_Markup(text).c_str());
        } else {
            current_->Take_Message(severity, text);
        }
    } catch (...) {
        current_->Note_Out_Of_Memory();
    }
}

}  // namespace lib_mend
