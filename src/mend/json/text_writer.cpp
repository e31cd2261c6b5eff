#include "mend/json/text_writer.h"

#include <algorithm>
#include <cstdio>

namespace lib_mend {

void Text_Writer::Put(std::string_view text)
{
    if (text.size() >= Block) {
        Flush();
        is_taken_ = is_taken_ && take_(text);
        return;
    }
    buffer_ += text;
    if (buffer_.size() >= Block) {
        Flush();
    }
}

void Text_Writer::Put_String(std::string_view text)
{
    Put("\"");
    for (std::size_t done = 0; done < text.size();) {
        std::size_t end = done;
        while (end < text.size() && static_cast<unsigned char>(text[end]) >= 0x20 &&
               text[end] != '"' && text[end] != '\\') {
            ++end;
        }
        Put(text.substr(done, end - done));
        if (end < text.size()) {
            char escaped[8];
            const char letter = text[end++];
            if (letter == '"' || letter == '\\') {
                std::snprintf(escaped, sizeof escaped, "\\%c", letter);
            } else {
                std::snprintf(escaped, sizeof escaped, "\\u%04x",
                              static_cast<unsigned int>(static_cast<unsigned char>(letter)));
            }
            Put(escaped);
        }
        done = end;
    }
    Put("\"");
}

void Text_Writer::Break(std::size_t depth)
{
    constexpr std::size_t Deepest = 32;
    if (pretty_) {
        // Deeper levels stand below each other, so that deep nesting costs no more than its elements.
        Put("\n" + std::string(2 * std::min(depth, Deepest), ' '));
    }
}

void Text_Writer::Flush()
{
    if (is_taken_ && !buffer_.empty()) {
        is_taken_ = take_(buffer_);
    }
    buffer_.clear();
}

}  // namespace lib_mend
