// The reporting channel: filter, delivery, and the default sink.
#include <Lib_Util/Lib_Util.h>

#include "message_format.h"
#include "utf8.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

using namespace lib_util;

HWND hwnd = nullptr;
int Flag_Trace = 0;
char* Prog_Name = nullptr;

namespace {

struct Sink_Slot {
    Error_Sink sink;
    void* context;
};

std::mutex sink_lock;
Sink_Slot current_sink = {nullptr, nullptr};

Sink_Slot Exchange_Sink(const Sink_Slot* replacement)
{
    const std::lock_guard guard(sink_lock);
    const Sink_Slot previous = current_sink;
    if (replacement != nullptr) {
        current_sink = *replacement;
    }
    return previous;
}

bool Stderr_Is_Terminal()
{
#if defined(_WIN32)
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

/** The terminal's sequence for a markup byte, null for any other byte. */
const char* Colour_Sequence(unsigned char byte)
{
    switch (byte) {
    case 0x01:
        return "\033[36m";
    case 0x02:
        return "\033[39m";
    case 0x04:
        return "\033[35m";
    case 0x05:
        return "\033[33m";
    case 0x06:
        return "\033[32m";
    case 0xF0:
        return "\033[22m";
    case 0xF1:
        return "\033[1m";
    default:
        return nullptr;
    }
}

bool Is_Control(char32_t code)
{
    return (code < 0x20 && code != '\n' && code != '\t') || (code >= 0x7F && code < 0xA0);
}

void Append_Hex(std::string& line, std::string_view bytes)
{
    for (const char byte : bytes) {
        char text[8];
        std::snprintf(text, sizeof text, "\\x%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(byte)));
        line += text;
    }
}

/**
 * The line that a terminal or a log gets. Texts of files are quoted in messages, so what could
 * drive a terminal is shown in hexadecimal. The high control codes are letters in some character
 * sets, so a log keeps them.
 */
std::string Line_Of(std::string_view text, bool terminal, bool colours)
{
    std::string line;
    while (!text.empty()) {
        const Utf8_Char character = Decode_Utf8(text);
        const auto byte = static_cast<unsigned char>(text[0]);
        const char32_t code = character.size == 0 ? byte : character.code;
        const std::string_view bytes = text.substr(0, character.size == 0 ? 1 : character.size);
        // The emphasis codes also lead UTF-8 characters of four bytes, which are text.
        const char* const colour = bytes.size() == 1 ? Colour_Sequence(byte) : nullptr;
        if (colour != nullptr) {
            line += colours ? colour : "";
        } else if (Is_Control(code) && (terminal || code <= 0x7F)) {
            Append_Hex(line, bytes);
        } else {
            line += bytes;
        }
        text.remove_prefix(bytes.size());
    }
    line += colours ? "\033[0m\n" : "\n";
    return line;
}

void Write_To_Stderr(const char* text)
{
    const bool terminal = Stderr_Is_Terminal();
    const std::string line =
        Line_Of(text, terminal, terminal && std::getenv("NO_COLOR") == nullptr);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void Deliver(HWND handle, unsigned int severity, const char* text)
{
    const Sink_Slot slot = Exchange_Sink(nullptr);
    if (slot.sink == nullptr) {
        Write_To_Stderr(text);
    } else {
        slot.sink(handle, severity, text, slot.context);
    }
}

/** Delivers a text, whatever the sink throws. */
int Try_Deliver(HWND handle, unsigned int severity, const char* text) noexcept
{
    try {
        Deliver(handle, severity, text);
        return 1;
    } catch (...) {
        return 0;
    }
}

int Report_Unformatted(HWND handle, unsigned int severity, const char* format) noexcept
{
    return Try_Deliver(handle, severity, format);
}

int Report_Unformatted(HWND handle, unsigned int severity, const wchar_t*) noexcept
{
    return Try_Deliver(handle, severity, "a message was lost: no memory");
}

template <class Char>
int Report_Message(HWND handle, unsigned int severity, const Char* format,
                   std::va_list arguments) noexcept
{
    std::string text;
    try {
        text = Format_Message(format, arguments);
    } catch (...) {
        return Report_Unformatted(handle, severity, format);
    }
    return Try_Deliver(handle, severity, text.c_str());
}

/** Reports a message and leaves errno alone, which a caller often names in its next message. */
template <class Char>
int Report(HWND handle, unsigned int severity, const Char* format, std::va_list arguments) noexcept
{
    const int saved = errno;
    const int delivered = Report_Message(handle, severity, format, arguments);
    errno = saved;
    return delivered;
}

}  // namespace

Error_Sink Error_Sink_Set(Error_Sink sink, void* context)
{
    const Sink_Slot replacement = {sink, context};
    return Exchange_Sink(&replacement).sink;
}

int Error_Fct(HWND handle, unsigned int severity, const char* format, ...)
{
    if (Error_Wanted(severity) == 0) {
        return 0;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const int delivered = Report(handle, severity, format, arguments);
    va_end(arguments);
    return delivered;
}

int Error_Fct(HWND handle, unsigned int severity, const wchar_t* format, ...)
{
    if (Error_Wanted(severity) == 0) {
        return 0;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const int delivered = Report(handle, severity, format, arguments);
    va_end(arguments);
    return delivered;
}

const wchar_t* Error_Perror(int error_number)
{
    struct Release {
        void operator()(wchar_t* text) const
        {
            std::free(text);
        }
    };
    thread_local std::unique_ptr<wchar_t, Release> text;

    text.reset(Char_2_Wchar(std::strerror(error_number)));
    return text != nullptr ? text.get() : L"";
}
