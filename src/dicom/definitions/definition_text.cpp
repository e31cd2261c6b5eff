#include "definitions/definition_text.h"

#include "frame/vr_rules.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

constexpr std::size_t Max_Line = 65536;
constexpr std::size_t Max_Shown = 40;
/** Faults of one file after which it is not worth reading on. */
constexpr std::size_t Max_Faults = 20;
/** Bounds of one run: a few files that include each other twice could ask for any amount. */
constexpr std::size_t Max_Total_Lines = 1000000;
constexpr std::size_t Max_Total_Bytes = std::size_t{128} << 20U;

bool Is_Blank(char character)
{
    return character == ' ' || character == '\t';
}

bool Is_Control(char character)
{
    return (static_cast<unsigned char>(character) < ' ' && character != '\t') || character == 0x7F;
}

std::string Hex_Byte(char character)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned char>(character));
    return text;
}

}  // namespace

std::string Shown(std::string_view text)
{
    std::string shown = "\"";
    for (const char character : text.substr(0, Max_Shown)) {
        // F0 and F1 are markup of the reporting channel.
        const bool printable = character >= ' ' && character < 0x7F;
        shown += printable ? std::string(1, character) : "\\" + Hex_Byte(character).substr(1);
    }
    return shown + (text.size() > Max_Shown ? "...\"" : "\"");
}

std::size_t Letters_In(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0) != 0x80;
    }));
}

std::string Shown_Tag(unsigned short group, unsigned short element)
{
    char text[16];
    std::snprintf(text, sizeof text, "(%04X,%04X)", group, element);
    return text;
}

void Line_Cursor::Check() const
{
    if (line_.size() > Max_Line) {
        throw Definition_Fault{This_Unit, 0,
                               "the line is longer than " + std::to_string(Max_Line) + " bytes"};
    }
    // Without a way out in between, many bytes are looked at in one instruction.
    unsigned int controls = 0;
    for (const char character : line_) {
        const auto byte = static_cast<unsigned char>(character);
        controls |= static_cast<unsigned int>(byte < ' ') & static_cast<unsigned int>(byte != '\t');
        controls |= static_cast<unsigned int>(byte == 0x7F);
    }
    if (controls != 0) {
        const auto* const control = std::find_if(line_.begin(), line_.end(), Is_Control);
        throw Definition_Fault{This_Unit, static_cast<std::size_t>(control - line_.begin()),
                               "the byte " + Hex_Byte(*control) + " has no place in a text file"};
    }
}

bool Line_Cursor::At_End()
{
    while (at_ < line_.size() && Is_Blank(line_[at_])) {
        ++at_;
    }
    return at_ == line_.size() || line_[at_] == '#';
}

void Line_Cursor::Expect_End()
{
    if (!At_End()) {
        Expected(This_Unit, "the end of the line");
    }
}

bool Line_Cursor::Take(char character)
{
    if (At_End() || line_[at_] != character) {
        return false;
    }
    ++at_;
    return true;
}

bool Line_Cursor::Take_Sign(std::string_view sign)
{
    if (At_End() || !line_.substr(at_).starts_with(sign)) {
        return false;
    }
    at_ += sign.size();
    return true;
}

bool Line_Cursor::Take_Name(std::string_view name)
{
    At_End();
    const std::string_view rest = line_.substr(at_);
    const bool goes_on =
        rest.size() > name.size() && rest[name.size()] >= 'a' && rest[name.size()] <= 'z';
    if (goes_on || !rest.starts_with(name)) {
        return false;
    }
    at_ += name.size();
    return true;
}

std::string_view Line_Cursor::Run(std::string_view characters)
{
    const std::size_t begin = at_;
    at_ = std::min(line_.find_first_not_of(characters, begin), line_.size());
    return line_.substr(begin, at_ - begin);
}

std::string_view Line_Cursor::Text_From(std::size_t column) const
{
    const std::string_view text = line_.substr(column, at_ - column);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::string_view Line_Cursor::Word()
{
    At_End();
    const std::size_t begin = at_;
    while (at_ < line_.size() && !Is_Blank(line_[at_]) && line_[at_] != '"' && line_[at_] != '#') {
        ++at_;
    }
    return line_.substr(begin, at_ - begin);
}

std::string Line_Cursor::Quoted(const char* what)
{
    if (!Take('"')) {
        Expected(This_Unit, std::string(what) + " in quotes");
    }
    const std::size_t begin = at_ - 1;
    std::string text;
    for (;;) {
        const std::size_t quote = line_.find('"', at_);
        if (quote == line_.npos) {
            throw Definition_Fault{This_Unit, begin, "the quote is not closed"};
        }
        text.append(line_, at_, quote - at_);
        at_ = quote + 1;
        if (at_ == line_.size() || line_[at_] != '"') {
            return text;
        }
        text += '"';
        ++at_;
    }
}

std::string_view Line_Cursor::Tag()
{
    const std::size_t begin = at_;
    constexpr std::size_t Size = 11;
    const std::string_view tag = line_.substr(begin, Size);
    if (tag.size() != Size || tag[0] != '(' || tag[5] != ',' || tag[10] != ')') {
        Expected(This_Unit, "a tag (gggg,eeee)", begin);
    }
    at_ += Size;
    return tag;
}

void Line_Cursor::Expected(Place place, const std::string& what, std::size_t column) const
{
    std::string_view found = line_.substr(std::min(column, line_.size()));
    found = found.substr(0, found.find_first_of(" \t"));
    const bool at_end = found.empty() || found.front() == '#';
    throw Definition_Fault{place, column,
                           "expected " + what + ", found " +
                               (at_end ? "the end of the line" : Shown(found))};
}

std::optional<unsigned short> Hex_Number(std::string_view digits)
{
    unsigned short number = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, 16);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

unsigned short Read_VR(const Line_Cursor& cursor, std::string_view word, std::size_t column)
{
    const unsigned short vr = word.size() == 2 ? DICOM_VR(word[0], word[1]) : 0;
    if (Find_Any_VR_Rule(vr) == nullptr) {
        cursor.Expected(This_Unit, "a VR of two capital letters", column);
    }
    return vr;
}

std::string_view Reading::Take_Line(std::string_view& text)
{
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

bool Reading::Charge(const std::string& file, int line, std::size_t size)
{
    ++lines_;
    bytes_ += size;
    if (!is_exhausted_ && (lines_ > Max_Total_Lines || bytes_ > Max_Total_Bytes)) {
        is_exhausted_ = true;
        Report_Definition_Error(handle_, This_Unit,
                                file + ":" + std::to_string(line) +
                                    ": more than a million lines or 128 MB with all "
                                    "includes; the rest is left out");
    }
    return !is_exhausted_;
}

void Reading::Report(const std::string& file, File& state, int line, std::size_t column,
                     const Definition_Fault& fault)
{
    has_faults_ = true;
    if (!state.faulty_lines.insert(line).second) {
        return;
    }
    const std::string place = file + ":" + std::to_string(line) + ":";
    Report_Definition_Error(handle_, fault.place,
                            place + std::to_string(column + 1) + ": " + fault.text);
    if (state.faulty_lines.size() == Max_Faults) {
        state.end = line + 1;
        Report_Definition_Error(handle_, This_Unit,
                                place + " " + std::to_string(Max_Faults) +
                                    " faults in this file; the rest of it is left out");
    }
}

void Report_Definition_Error(HWND handle, Place place, const std::string& text)
{
    Report_Error(handle, place, "    \361\004ERROR:\002 %hs", text.c_str());
}

}  // namespace lib_dicom
