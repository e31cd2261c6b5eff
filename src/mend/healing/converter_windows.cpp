// Windows has the encodings as code pages, but for two forms of the Japanese ones, which are made here.
#include "mend/healing/converter.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <optional>

#include <windows.h>

namespace lib_mend {

namespace {

constexpr UINT Latin_Script = 1;  ///< ISO 646 of Japan: ASCII but for two characters
constexpr UINT Japan = 20932;

struct Code_Page {
    std::string_view encoding;
    UINT number;
};
constexpr Code_Page Code_Pages[] = {
    {"UTF-8", CP_UTF8},
    {"ASCII", 20127},
    {"ISO-8859-1", 28591},
    {"ISO-8859-2", 28592},
    {"ISO-8859-3", 28593},
    {"ISO-8859-4", 28594},
    {"ISO-8859-5", 28595},
    {"ISO-8859-6", 28596},
    {"ISO-8859-7", 28597},
    {"ISO-8859-8", 28598},
    {"ISO-8859-9", 28599},
    {"ISO-8859-15", 28605},
    {"TIS-620", 874},
    {"EUC-JP", Japan},
    {"EUC-KR", 949},
    {"GB2312", 936},
    {"GBK", 936},
    {"GB18030", 54936},
    {"ISO646-JP", Latin_Script},
};

constexpr char Kana_Shift = '\x8E';
constexpr char Third_Set_Shift = '\x8F';
constexpr wchar_t First_Kana = 0xFF61;
constexpr unsigned char First_Kana_Byte = 0xA1;
constexpr unsigned char Last_Kana_Byte = 0xDF;
constexpr wchar_t Yen = 0xA5;
constexpr wchar_t Overline = 0x203E;

/** The names of both encodings, as code pages; 0 for one that is not known. */
struct Pair {
    UINT to;
    UINT from;
};

UINT Number_Of(std::string_view encoding)
{
    const auto* const found =
        std::find_if(std::begin(Code_Pages), std::end(Code_Pages),
                     [&](const Code_Page& page) { return page.encoding == encoding; });
    return found != std::end(Code_Pages) ? found->number : 0;
}

std::wstring From_Page(UINT page, std::string_view bytes)
{
    std::array<wchar_t, 16> wide;
    const int count = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(),
                                          static_cast<int>(bytes.size()), wide.data(),
                                          static_cast<int>(wide.size()));
    return {wide.data(), static_cast<std::size_t>(std::max(count, 0))};
}

/** Empty for what is no character. */
std::wstring Decoded(UINT page, std::string_view bytes)
{
    if (page == Latin_Script) {
        const bool is_one = bytes.size() == 1 && static_cast<unsigned char>(bytes[0]) < 0x80;
        const wchar_t character = !is_one            ? L'\0'
                                  : bytes[0] == '\\' ? Yen
                                  : bytes[0] == '~'  ? Overline
                                                     : static_cast<wchar_t>(bytes[0]);
        return is_one ? std::wstring(1, character) : std::wstring();
    }
    if (page == Japan && bytes.size() == 2 && bytes[0] == Kana_Shift) {
        const auto byte = static_cast<unsigned char>(bytes[1]);
        const bool is_kana = byte >= First_Kana_Byte && byte <= Last_Kana_Byte;
        return is_kana ? std::wstring(1, static_cast<wchar_t>(First_Kana + byte - First_Kana_Byte))
                       : std::wstring();
    }
    if (page == Japan && bytes.size() == 3 && bytes[0] == Third_Set_Shift) {
        // The code page tells the third set by the high bit of the second byte.
        const std::array<char, 2> two = {bytes[1], static_cast<char>(bytes[2] & 0x7F)};
        return From_Page(page, {two.data(), two.size()});
    }
    return From_Page(page, bytes);
}

std::string To_Page(UINT page, const std::wstring& text)
{
    // These two convert everything, and take no flags.
    const bool is_whole = page == CP_UTF8 || page == 54936;
    std::array<char, 16> bytes;
    BOOL is_replaced = FALSE;
    const int count = WideCharToMultiByte(
        page, is_whole ? 0 : WC_NO_BEST_FIT_CHARS, text.data(), static_cast<int>(text.size()),
        bytes.data(), static_cast<int>(bytes.size()), nullptr, is_whole ? nullptr : &is_replaced);
    return is_replaced == FALSE
               ? std::string(bytes.data(), static_cast<std::size_t>(std::max(count, 0)))
               : std::string();
}

/** Empty for what the encoding has not. */
std::string Encoded(UINT page, const std::wstring& text)
{
    const wchar_t first = text[0];
    if (page == Latin_Script) {
        const bool is_other = first == L'\\' || first == L'~' || text.size() > 1;
        return first == Yen                         ? "\\"
               : first == Overline                  ? "~"
               : is_other || first >= wchar_t{0x80} ? std::string()
                                                    : std::string(1, static_cast<char>(first));
    }
    if (page != Japan) {
        return To_Page(page, text);
    }
    constexpr wchar_t Kanas = Last_Kana_Byte - First_Kana_Byte;
    if (first >= First_Kana && first <= First_Kana + Kanas) {
        return {Kana_Shift, static_cast<char>(first - First_Kana + First_Kana_Byte)};
    }
    std::string bytes = To_Page(page, text);
    if (bytes.size() == 2 && (bytes[1] & 0x80) == 0) {
        bytes = {Third_Set_Shift, bytes[0], static_cast<char>(bytes[1] | 0x80)};
    }
    return bytes;
}

}  // namespace

Converter::Converter(const char* to, const char* from)
    : handle_(std::make_unique<Pair>(Pair{Number_Of(to), Number_Of(from)}).release())
{
}

Converter::~Converter()
{
    const std::unique_ptr<Pair> pages(static_cast<Pair*>(handle_));
}

bool Converter::Append(std::string& out, std::string_view character) const
{
    const Pair pages = *static_cast<const Pair*>(handle_);
    const bool is_known = pages.to != 0 && pages.from != 0 && !character.empty();
    const std::wstring wide = is_known ? Decoded(pages.from, character) : std::wstring();
    const std::string bytes = wide.empty() ? std::string() : Encoded(pages.to, wide);
    out += bytes;
    return !bytes.empty();
}

}  // namespace lib_mend
