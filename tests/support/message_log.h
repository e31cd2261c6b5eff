// Catches the messages of both libraries for the length of a test.
#ifndef TESTS_MESSAGE_LOG_H
#define TESTS_MESSAGE_LOG_H

#include <Lib_Util/Lib_Util.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <string>
#include <vector>

struct Message {
    unsigned int severity;
    std::string text;
};

class Message_Log {
public:
    explicit Message_Log(int trace_level = 0) : saved_trace_(Flag_Trace)
    {
        Flag_Trace = trace_level;
        Error_Sink_Set(&Message_Log::Take, this);
    }
    Message_Log(const Message_Log&) = delete;
    Message_Log& operator=(const Message_Log&) = delete;
    ~Message_Log()
    {
        Error_Sink_Set(nullptr, nullptr);
        Flag_Trace = saved_trace_;
    }

    /** All messages so far, in order. */
    const std::vector<Message>& All() const
    {
        return messages_;
    }
    /** Texts of all messages so far, one a line. */
    std::string Text() const
    {
        std::string text;
        for (const Message& message : messages_) {
            text += message.text + "\n";
        }
        return text;
    }
    /** Severities and texts, one message a line; "line:N" for every line of a source. */
    std::string Lines() const
    {
        std::string lines;
        for (const Message& message : messages_) {
            char severity[16];
            std::snprintf(severity, sizeof severity, "%X ", message.severity);
            lines += severity + message.text + "\n";
        }
        return std::regex_replace(lines, std::regex(" line:[0-9]+\n"), " line:N\n");
    }
    /** Number of messages whose text holds `part`. */
    long Count(const std::string& part) const
    {
        const auto holds = [&](const Message& message) {
            return message.text.find(part) != std::string::npos;
        };
        return static_cast<long>(std::count_if(messages_.begin(), messages_.end(), holds));
    }
    void Clear()
    {
        messages_.clear();
    }

private:
    static void Take(HWND, unsigned int severity, const char* text, void* context)
    {
        static_cast<Message_Log*>(context)->messages_.push_back({severity, text});
    }

    int saved_trace_;
    std::vector<Message> messages_;
};

/** The lines of an error: the unit that reports it, and its text. */
inline std::string Error_Lines(const std::string& unit, const std::string& text)
{
    return "80000001 file:" + unit + " line:N\n2 " + text + "\n";
}

#endif
