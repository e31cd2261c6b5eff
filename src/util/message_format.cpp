#include "message_format.h"

#include "utf8.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <type_traits>
#include <utility>

namespace lib_util {

namespace {

enum class Length { None, hh, h, l, ll, z, j, t, L };

/** What stands between '%' and the conversion letter. */
struct Conversion {
    std::string flags;
    int width = 0;
    /** Negative when there is none. */
    int precision = -1;
    Length length = Length::None;
    char letter = '\0';

    bool Left() const
    {
        return flags.find('-') != std::string::npos;
    }
};

std::size_t Bounded_Length(const char* text, int precision)
{
    if (precision < 0) {
        return std::strlen(text);
    }
    const auto limit = static_cast<std::size_t>(precision);
    const void* const end = std::memchr(text, '\0', limit);
    return end == nullptr ? limit : static_cast<std::size_t>(static_cast<const char*>(end) - text);
}

std::size_t Bounded_Length(const wchar_t* text, int precision)
{
    std::size_t length = 0;
    while ((precision < 0 || length < static_cast<std::size_t>(precision)) && text[length] != 0) {
        ++length;
    }
    return length;
}

void Append_Wide(std::string& message, std::wstring_view text)
{
    while (!text.empty()) {
        Append_Utf8(message, Shown_Character(Take_Wide(text)));
    }
}

void Append_Literal(std::string& message, std::string_view text)
{
    message += text;
}

void Append_Literal(std::string& message, std::wstring_view text)
{
    // The emphasis codes are letters in Unicode; in a format they are markup.
    constexpr std::wstring_view emphasis = L"\xF0\xF1";
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find_first_of(emphasis), text.size());
        Append_Wide(message, text.substr(0, plain));
        text.remove_prefix(plain);
        if (!text.empty()) {
            message += static_cast<char>(text[0]);
            text.remove_prefix(1);
        }
    }
}

template <class Char>
class Formatter {
public:
    Formatter(const Char* format, std::va_list arguments) : rest_(format)
    {
        va_copy(arguments_, arguments);
    }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;
    ~Formatter()
    {
        va_end(arguments_);
    }

    std::string Run()
    {
        while (!rest_.empty()) {
            const std::size_t literal = std::min(rest_.find(Char('%')), rest_.size());
            Append_Literal(message_, rest_.substr(0, literal));
            rest_.remove_prefix(literal);
            const View conversion = rest_;
            if (!rest_.empty() && !Convert(Parse())) {
                Append_Literal(message_, conversion);
                break;
            }
        }
        return std::move(message_);
    }

private:
    using View = std::basic_string_view<Char>;

    bool Take(char wanted)
    {
        if (rest_.empty() || rest_[0] != Char(wanted)) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    /** Takes one character of a set of ASCII characters, NUL when another one comes next. */
    char Take_One_Of(std::string_view set)
    {
        for (const char wanted : set) {
            if (Take(wanted)) {
                return wanted;
            }
        }
        return '\0';
    }

    Conversion Parse()
    {
        Conversion conversion;
        Take('%');
        while (const char flag = Take_One_Of("-+ #0")) {
            conversion.flags += flag;
        }
        conversion.width = Parse_Number();
        if (conversion.width < 0) {
            conversion.flags += '-';
            conversion.width = -std::max(conversion.width, -INT_MAX);
        }
        if (Take('.')) {
            conversion.precision = Parse_Number();
        }
        conversion.length = Parse_Length();
        conversion.letter = Take_One_Of("diouxXcspeEfFgGaA%");
        return conversion;
    }

    int Parse_Number()
    {
        if (Take('*')) {
            return va_arg(arguments_, int);
        }
        int number = 0;
        while (const char digit = Take_One_Of("0123456789")) {
            const int value = digit - '0';
            number = number > (INT_MAX - value) / 10 ? INT_MAX : number * 10 + value;
        }
        return number;
    }

    Length Parse_Length()
    {
        switch (Take_One_Of("hlzjtL")) {
        case 'h':
            return Take('h') ? Length::hh : Length::h;
        case 'l':
            return Take('l') ? Length::ll : Length::l;
        case 'z':
            return Length::z;
        case 'j':
            return Length::j;
        case 't':
            return Length::t;
        case 'L':
            return Length::L;
        default:
            return Length::None;
        }
    }

    bool Convert(const Conversion& conversion)
    {
        switch (conversion.letter) {
        case '\0':
            return false;
        case '%':
            message_ += '%';
            return true;
        case 'd':
        case 'i':
            Append_Number(conversion, "j", Next_Signed(conversion.length));
            return true;
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            Append_Number(conversion, "j", Next_Unsigned(conversion.length));
            return true;
        case 'c':
            Convert_Character(conversion);
            return true;
        case 's':
            Convert_Text(conversion);
            return true;
        case 'p':
            Append_Pointer(conversion, va_arg(arguments_, void*));
            return true;
        default:
            Convert_Floating(conversion);
            return true;
        }
    }

    std::intmax_t Next_Signed(Length length)
    {
        switch (length) {
        case Length::hh:
            return static_cast<signed char>(va_arg(arguments_, int));
        case Length::h:
            return static_cast<short>(va_arg(arguments_, int));
        case Length::l:
            return va_arg(arguments_, long);
        case Length::ll:
            return va_arg(arguments_, long long);
        case Length::z:
            return va_arg(arguments_, std::make_signed_t<std::size_t>);
        case Length::j:
            return va_arg(arguments_, std::intmax_t);
        case Length::t:
            return va_arg(arguments_, std::ptrdiff_t);
        default:
            return va_arg(arguments_, int);
        }
    }

    std::uintmax_t Next_Unsigned(Length length)
    {
        switch (length) {
        case Length::hh:
            return static_cast<unsigned char>(va_arg(arguments_, unsigned int));
        case Length::h:
            return static_cast<unsigned short>(va_arg(arguments_, unsigned int));
        case Length::l:
            return va_arg(arguments_, unsigned long);
        case Length::ll:
            return va_arg(arguments_, unsigned long long);
        case Length::z:
            return va_arg(arguments_, std::size_t);
        case Length::j:
            return va_arg(arguments_, std::uintmax_t);
        case Length::t:
            return va_arg(arguments_, std::make_unsigned_t<std::ptrdiff_t>);
        default:
            return va_arg(arguments_, unsigned int);
        }
    }

    void Convert_Floating(const Conversion& conversion)
    {
        if (conversion.length == Length::L) {
            Append_Number(conversion, "L", va_arg(arguments_, long double));
        } else {
            Append_Number(conversion, "", va_arg(arguments_, double));
        }
    }

    template <class Value>
    void Append_Number(const Conversion& conversion, const char* length, Value value)
    {
        const std::string format =
            "%" + conversion.flags + "*.*" + length + std::string(1, conversion.letter);
        const int size = std::snprintf(nullptr, 0, format.c_str(), conversion.width,
                                       conversion.precision, value);
        if (size <= 0) {
            return;
        }
        const std::size_t begin = message_.size();
        message_.resize(begin + static_cast<std::size_t>(size) + 1);
        std::snprintf(&message_[begin], static_cast<std::size_t>(size) + 1, format.c_str(),
                      conversion.width, conversion.precision, value);
        message_.pop_back();
    }

    /** Hexadecimal digits behind "0x", as elsewhere too where the system writes them otherwise. */
    void Append_Pointer(Conversion conversion, const void* pointer)
    {
#ifdef _WIN32
        conversion.letter = 'x';
        conversion.flags += '#';
        Append_Number(conversion, "j", reinterpret_cast<std::uintmax_t>(pointer));
#else
        Append_Number(conversion, "", pointer);
#endif
    }

    static bool Is_Wide(Length length)
    {
        return length == Length::l || (length == Length::None && std::is_same_v<Char, wchar_t>);
    }

    void Convert_Character(const Conversion& conversion)
    {
        std::string text;
        if (Is_Wide(conversion.length)) {
            using Promoted = decltype(+std::wint_t());
            const auto character = static_cast<wchar_t>(va_arg(arguments_, Promoted));
            Append_Wide(text, std::wstring_view(&character, 1));
        } else {
            text = static_cast<char>(va_arg(arguments_, int));
        }
        // A NUL would cut the message that it stands in.
        std::replace(text.begin(), text.end(), '\0', ' ');
        Append_Padded(conversion, text, 1);
    }

    void Convert_Text(const Conversion& conversion)
    {
        if (Is_Wide(conversion.length)) {
            Convert_Wide_Text(conversion, va_arg(arguments_, const wchar_t*));
        } else {
            Convert_Narrow_Text(conversion, va_arg(arguments_, const char*));
        }
    }

    void Convert_Narrow_Text(const Conversion& conversion, const char* text)
    {
        const std::string_view shown =
            text == nullptr ? Null_Text
                            : std::string_view(text, Bounded_Length(text, conversion.precision));
        Append_Padded(conversion, shown, shown.size());
    }

    void Convert_Wide_Text(const Conversion& conversion, const wchar_t* text)
    {
        if (text == nullptr) {
            Append_Padded(conversion, Null_Text, Null_Text.size());
            return;
        }
        const std::wstring_view shown(text, Bounded_Length(text, conversion.precision));
        std::string converted;
        Append_Wide(converted, shown);
        Append_Padded(conversion, converted, shown.size());
    }

    /** @param columns  the size of the text in the units of the field width */
    void Append_Padded(const Conversion& conversion, std::string_view text, std::size_t columns)
    {
        const auto width = static_cast<std::size_t>(conversion.width);
        const std::size_t padding = width > columns ? width - columns : 0;
        message_.append(conversion.Left() ? 0 : padding, ' ');
        message_ += text;
        message_.append(conversion.Left() ? padding : 0, ' ');
    }

    static constexpr std::string_view Null_Text = "(null)";

    View rest_;
    std::va_list arguments_;
    std::string message_;
};

}  // namespace

std::string Format_Message(const char* format, std::va_list arguments)
{
    return Formatter<char>(format, arguments).Run();
}

std::string Format_Message(const wchar_t* format, std::va_list arguments)
{
    return Formatter<wchar_t>(format, arguments).Run();
}

}  // namespace lib_util
