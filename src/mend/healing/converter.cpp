#include "mend/healing/converter.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <iconv.h>

namespace lib_mend {

namespace {

constexpr std::size_t Most_Bytes = 16;

bool Is_Open(const void* handle)
{
    // The interface tells of a failure by the pointer -1.
    return reinterpret_cast<std::intptr_t>(handle) != -1;
}

}  // namespace

Converter::Converter(const char* to, const char* from) : handle_(iconv_open(to, from))
{
}

Converter::~Converter()
{
    if (Is_Open(handle_)) {
        iconv_close(handle_);
    }
}

bool Converter::Append(std::string& out, std::string_view character) const
{
    std::array<char, Most_Bytes> bytes;
    if (!Is_Open(handle_) || character.size() > bytes.size()) {
        return false;
    }
    std::copy(character.begin(), character.end(), bytes.begin());
    char* from = bytes.data();
    std::size_t left = character.size();
    std::array<char, Most_Bytes> buffer;
    char* to = buffer.data();
    std::size_t room = buffer.size();
    const bool done = iconv(handle_, &from, &left, &to, &room) == 0 && left == 0;
    if (!done) {
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        return false;
    }
    out.append(buffer.data(), to);
    return true;
}

}  // namespace lib_mend
