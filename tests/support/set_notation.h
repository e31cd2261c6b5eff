// Data sets in a notation that fits into a row of cases.
#ifndef TESTS_SET_NOTATION_H
#define TESTS_SET_NOTATION_H

#include "support/stream_builder.h"

#include <cstdlib>
#include <string>
#include <string_view>

/**
 * The bytes, in explicit VR little endian, of elements such as
 *
 *     "0028,0010 US 2\3; 0008,1140 SQ [0008,1150 UI 1.2; 0008,1155 UI 1.3][]; 0010,0010 PN A^B"
 *
 * US holds numbers, AT eight hexadecimal digits; any other value is text, padded with a blank.
 */
class Set_Notation {
public:
    static std::string Bytes(std::string_view text)
    {
        Set_Notation notation(text);
        notation.Read_Elements();
        return notation.stream_.Bytes();
    }

private:
    explicit Set_Notation(std::string_view text) : rest_(text)
    {
    }

    bool Take(char character)
    {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
        const bool is_there = rest_.starts_with(character);
        rest_.remove_prefix(is_there ? 1 : 0);
        return is_there;
    }
    unsigned int Hex()
    {
        const std::string digits(rest_.substr(0, 4));
        rest_.remove_prefix(std::min<std::size_t>(5, rest_.size()));
        return static_cast<unsigned int>(std::strtoul(digits.c_str(), nullptr, 16));
    }
    void Read_Elements()
    {
        while (!rest_.empty() && !rest_.starts_with(']')) {
            Take(';');
            Take(' ');
            const unsigned int group = Hex();
            const unsigned int element = Hex();
            const std::string vr(rest_.substr(0, 2));
            rest_.remove_prefix(2);
            if (vr == "SQ") {
                Read_Items(group, element);
            } else {
                Read_Value(group, element, vr);
            }
        }
    }
    void Read_Items(unsigned int group, unsigned int element)
    {
        stream_.Sequence(group, element);
        while (Take('[')) {
            stream_.Item();
            Read_Elements();
            stream_.Item_End();
            Take(']');
        }
        stream_.Sequence_End();
    }
    void Read_Value(unsigned int group, unsigned int element, const std::string& vr)
    {
        Take(' ');
        std::string value(rest_.substr(0, rest_.find_first_of(";]")));
        rest_.remove_prefix(value.size());
        if (vr == "US" || vr == "AT") {
            Stream_Builder numbers;
            for (std::size_t at = 0; at < value.size(); at += value.substr(at).find('\\') + 1) {
                const std::string one = value.substr(at, value.find('\\', at) - at);
                const auto number = std::strtoul(one.c_str(), nullptr, vr == "AT" ? 16 : 10);
                if (vr == "AT") {
                    numbers.Short(static_cast<unsigned int>(number >> 16U));
                }
                numbers.Short(static_cast<unsigned int>(number & 0xFFFFU));
                if (value.find('\\', at) == std::string::npos) {
                    break;
                }
            }
            value = numbers.Bytes();
        }
        value.append(value.size() % 2, vr == "UI" ? '\0' : ' ');
        stream_.Element(group, element, vr, value);
    }

    std::string_view rest_;
    Stream_Builder stream_;
};

#endif
