// Writes the tables of characters of a header, as the C library of this machine converts them: a module has no
// such library, and is to read texts as the tool does.
//
//   make_characters HEADER ENCODING...
//
// Each table is a row of runs, in which both the bytes of a character and its code count upwards. A run is its
// distance from the one in front in both, and its length with what it is for: 1 reading, 2 writing, 3 both.
#include "character_numbers.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <iconv.h>

namespace {

using namespace lib_mend;

/** One conversion; empty for what is no character of it. */
class Conversion {
public:
    Conversion(const char* to, const char* from) : handle_(iconv_open(to, from))
    {
        // The interface tells of a failure by the pointer -1.
        if (reinterpret_cast<std::intptr_t>(handle_) == -1) {
            throw std::runtime_error(std::string("no conversion from ") + from + " to " + to);
        }
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;
    ~Conversion()
    {
        iconv_close(handle_);
    }
    std::string Of(const std::string& text) const
    {
        std::array<char, 16> buffer;
        std::string copy = text;
        char* from = copy.data();
        char* to = buffer.data();
        std::size_t left = text.size();
        std::size_t room = buffer.size();
        const bool done = iconv(handle_, &from, &left, &to, &room) == 0 && left == 0;
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        return done ? std::string(buffer.data(), to) : std::string();
    }

private:
    iconv_t handle_;
};

std::string In_UTF_32(std::uint32_t code)
{
    const auto byte = [](std::uint32_t value) {
        return static_cast<char>(value & 0xFF);
    };
    return {byte(code), byte(code >> 8), byte(code >> 16), byte(code >> 24)};
}

struct Character {
    std::uint32_t code;
    unsigned use;
};

std::multimap<std::uint32_t, Character> Characters_Of(const char* encoding)
{
    const Conversion read("UTF-32LE", encoding);
    const Conversion write(encoding, "UTF-32LE");
    const bool has_four = std::string(encoding) == "GB18030";
    std::multimap<std::uint32_t, Character> all;
    for (std::uint32_t number = 0; number < (has_four ? Behind_Four_Bytes : Four_Bytes); ++number) {
        const bool is_gap =
            (number >= 0x100 && number < Two_Bytes) || (number >= 0x30000 && number < Four_Bytes);
        const std::string code = is_gap ? std::string() : read.Of(Bytes_Of(number));
        if (code.size() == 4) {
            std::uint32_t value = 0;
            for (int i = 3; i >= 0; --i) {
                value = value * 256 + static_cast<unsigned char>(code[static_cast<std::size_t>(i)]);
            }
            all.insert({number, {value, 1}});
        }
    }
    for (std::uint32_t code = 0; code < 0x110000; ++code) {
        const std::string bytes = write.Of(In_UTF_32(code));
        if (bytes.empty() || bytes.size() > 4 || (bytes.size() == 3 && bytes[0] != '\x8F')) {
            continue;
        }
        const std::uint32_t number = Number_Of_Bytes(bytes);
        const auto [first, last] = all.equal_range(number);
        auto same = first;
        while (same != last && same->second.code != code) {
            ++same;
        }
        if (same != last) {
            same->second.use |= 2;
        } else {
            all.insert({number, {code, 2}});
        }
    }
    return all;
}

void Put(std::string& out, std::uint64_t value)
{
    for (; value > 127; value >>= 7) {
        out += std::to_string((value & 127) | 128) + ",";
    }
    out += std::to_string(value) + ",";
}

std::string Runs_Of(const std::multimap<std::uint32_t, Character>& all)
{
    std::string out;
    std::uint32_t number = 0;
    std::uint32_t code = 0;
    for (auto at = all.begin(); at != all.end();) {
        const auto [first_code, use] = at->second;
        const std::uint32_t first = at->first;
        std::uint32_t length = 0;
        while (at != all.end() && at->first == first + length &&
               at->second.code == first_code + length && at->second.use == use) {
            ++length;
            ++at;
        }
        const std::int64_t step = std::int64_t{first_code} - code;
        Put(out, first - number);
        Put(out, step < 0 ? static_cast<std::uint64_t>(-step) * 2 - 1
                          : static_cast<std::uint64_t>(step) * 2);
        Put(out, std::uint64_t{length} * 4 + use);
        // Two characters for the same bytes stand behind each other.
        number = first;
        code = first_code + length;
    }
    return out;
}

}  // namespace

int main(int count, char** words)
try {
    if (count < 3) {
        return EXIT_FAILURE;
    }
    std::ofstream header(words[1]);
    std::string table;
    header << "// Made by make_characters from the tables of the C library.\n";
    for (int i = 2; i < count; ++i) {
        const std::string name = "Runs_" + std::to_string(i);
        header << "constexpr unsigned char " << name << "[] = {" << Runs_Of(Characters_Of(words[i]))
               << "};\n";
        table += std::string("    {\"") + words[i] + "\", " + name + "},\n";
    }
    header << "constexpr Character_Table Tables[] = {\n" << table << "};\n";
    return header.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& error) {
    std::fprintf(stderr, "make_characters: %s\n", error.what());
    return EXIT_FAILURE;
}
