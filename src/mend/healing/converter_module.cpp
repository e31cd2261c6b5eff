// A module has no C library with encodings: make_characters took the tables of one.
#include "mend/healing/character_numbers.h"
#include "mend/healing/converter.h"
#include "util/utf8_decoding.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace lib_mend {

namespace {

struct Character_Table {
    std::string_view encoding;
    std::span<const unsigned char> runs;
};

#include "characters.h"

/** Characters whose bytes, as a number, and whose codes both count upwards. */
struct Run {
    std::uint32_t number;
    std::uint32_t code;
    std::uint32_t length;
};

std::uint32_t Byte_At(std::string_view bytes, std::size_t at)
{
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

/** One encoding, as runs in the order of bytes and in that of codes. */
class Encoding_Table {
public:
    explicit Encoding_Table(std::span<const unsigned char> packed) : rest_(packed)
    {
        std::uint32_t number = 0;
        std::uint32_t code = 0;
        while (!rest_.empty()) {
            number += Next();
            const std::uint32_t step = Next();
            code += (step & 1) != 0 ? 0U - (step + 1) / 2 : step / 2;
            const std::uint32_t length_and_use = Next();
            const Run run = {number, code, length_and_use / 4};
            if ((length_and_use & 1) != 0) {
                by_number_.push_back(run);
            }
            if ((length_and_use & 2) != 0) {
                by_code_.push_back(run);
            }
            code += run.length;
        }
        std::sort(by_code_.begin(), by_code_.end(),
                  [](const Run& a, const Run& b) { return a.code < b.code; });
    }

    std::optional<std::uint32_t> Code_Of(std::uint32_t number) const
    {
        return Looked_Up(by_number_, &Run::number, &Run::code, number);
    }
    std::optional<std::uint32_t> Number_Of(std::uint32_t code) const
    {
        return Looked_Up(by_code_, &Run::code, &Run::number, code);
    }

private:
    static std::optional<std::uint32_t> Looked_Up(const std::vector<Run>& runs,
                                                  std::uint32_t Run::*key,
                                                  std::uint32_t Run::*value, std::uint32_t wanted)
    {
        const auto behind =
            std::upper_bound(runs.begin(), runs.end(), wanted,
                             [key](std::uint32_t one, const Run& run) { return one < run.*key; });
        if (behind == runs.begin()) {
            return std::nullopt;
        }
        const Run& run = *std::prev(behind);
        const std::uint32_t step = wanted - run.*key;
        return step < run.length ? std::optional(run.*value + step) : std::nullopt;
    }
    std::uint32_t Next()
    {
        std::uint32_t value = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned char byte = rest_.front();
            rest_ = rest_.subspan(1);
            value |= std::uint32_t{byte & 127U} << shift;
            if (byte < 128) {
                return value;
            }
        }
    }

    std::span<const unsigned char> rest_;
    std::vector<Run> by_number_;
    std::vector<Run> by_code_;
};

bool May_Be_One(std::string_view bytes)
{
    const auto in = [&](std::size_t i, std::uint32_t first, std::uint32_t last) {
        return Byte_At(bytes, i) >= first && Byte_At(bytes, i) <= last;
    };
    switch (bytes.size()) {
    case 1:
    case 2:
        return true;
    case 3:
        return Byte_At(bytes, 0) == Third_Set_Shift;
    default:
        return bytes.size() == 4 && in(0, 0x81, 0xFE) && in(1, '0', '9') && in(2, 0x81, 0xFE) &&
               in(3, '0', '9');
    }
}

/** Takes a character of UTF-8 from the front; nothing for bytes that are none. */
std::optional<std::uint32_t> Take_UTF_8(std::string_view& bytes)
{
    const lib_util::Utf8_Char first = lib_util::Decode_Utf8(bytes);
    bytes.remove_prefix(first.size);
    return first.size > 0 ? std::optional<std::uint32_t>(first.code) : std::nullopt;
}

void Put_UTF_8(std::string& out, std::uint32_t code)
{
    const auto tail = [&](unsigned shift) {
        out += static_cast<char>(0x80 | (code >> shift & 0x3F));
    };
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | code >> 6);
        tail(0);
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | code >> 12);
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xF0 | code >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

/** Where bytes come from and where they go to; no table stands for UTF-8. */
struct Pair {
    bool is_known = true;
    std::unique_ptr<Encoding_Table> to;
    std::unique_ptr<Encoding_Table> from;
};

std::unique_ptr<Encoding_Table> Table_Of(std::string_view encoding, bool& is_known)
{
    if (encoding == "UTF-8") {
        return nullptr;
    }
    const auto* const found =
        std::find_if(std::begin(Tables), std::end(Tables),
                     [&](const Character_Table& table) { return table.encoding == encoding; });
    is_known = is_known && found != std::end(Tables);
    return found != std::end(Tables) ? std::make_unique<Encoding_Table>(found->runs) : nullptr;
}

}  // namespace

Converter::Converter(const char* to, const char* from) : handle_(nullptr)
{
    auto pair = std::make_unique<Pair>();
    pair->to = Table_Of(to, pair->is_known);
    pair->from = Table_Of(from, pair->is_known);
    handle_ = pair.release();
}

Converter::~Converter()
{
    const std::unique_ptr<Pair> pair(static_cast<Pair*>(handle_));
}

bool Converter::Append(std::string& out, std::string_view character) const
{
    const Pair& pair = *static_cast<const Pair*>(handle_);
    if (!pair.is_known) {
        return false;
    }
    std::string bytes;
    while (!character.empty()) {
        std::optional<std::uint32_t> code;
        if (pair.from == nullptr) {
            code = Take_UTF_8(character);
        } else {
            // What came in behind one another is taken apart from the front.
            for (std::size_t size = std::min<std::size_t>(character.size(), 4); size > 0 && !code;
                 --size) {
                const std::string_view front = character.substr(0, size);
                code =
                    May_Be_One(front) ? pair.from->Code_Of(Number_Of_Bytes(front)) : std::nullopt;
                if (code) {
                    character.remove_prefix(size);
                }
            }
        }
        const std::optional<std::uint32_t> number =
            code && pair.to != nullptr ? pair.to->Number_Of(*code) : code;
        if (!number) {
            return false;
        }
        if (pair.to == nullptr) {
            Put_UTF_8(bytes, *number);
        } else {
            bytes += Bytes_Of(*number);
        }
    }
    out += bytes;
    return true;
}

}  // namespace lib_mend
