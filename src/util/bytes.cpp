// Numbers in a given byte order.
#include "older_libraries.h"

#include <Lib_Util/Lib_Util.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace {

constexpr unsigned char Code_Big_Endian = 0x01;
constexpr unsigned char Code_Swap_Pairs = 0x02;

template <class T>
using Bytes_Of = std::array<unsigned char, sizeof(T)>;

template <class T>
void Swap_Pairs(unsigned char code, Bytes_Of<T>& bytes)
{
    if ((code & Code_Swap_Pairs) != 0) {
        for (std::size_t i = 0; i < bytes.size(); i += 2) {
            std::swap(bytes[i], bytes[i + 1]);
        }
    }
}

template <class T>
void Swap_Endianness(unsigned char code, Bytes_Of<T>& bytes)
{
    const bool big = (code & Code_Big_Endian) != 0;
    if (big != (std::endian::native == std::endian::big)) {
        std::reverse(bytes.begin(), bytes.end());
    }
}

template <class T>
T Get(unsigned char code, const void* source)
{
    Bytes_Of<T> bytes;
    std::memcpy(bytes.data(), source, bytes.size());
    Swap_Pairs<T>(code, bytes);
    Swap_Endianness<T>(code, bytes);
    return lib_util::bit_cast<T>(bytes);
}

template <class T>
const unsigned char* Put(unsigned char code, T value)
{
    thread_local unsigned char result[sizeof(double)];

    Bytes_Of<T> bytes = lib_util::bit_cast<Bytes_Of<T>>(value);
    Swap_Endianness<T>(code, bytes);
    Swap_Pairs<T>(code, bytes);
    std::copy(bytes.begin(), bytes.end(), result);
    return result;
}

}  // namespace

short Get_Short(unsigned char code, const void* bytes)
{
    return Get<short>(code, bytes);
}

unsigned short Get_UShort(unsigned char code, const void* bytes)
{
    return Get<unsigned short>(code, bytes);
}

int Get_Int(unsigned char code, const void* bytes)
{
    return Get<int>(code, bytes);
}

float Get_Float(unsigned char code, const void* bytes)
{
    return Get<float>(code, bytes);
}

double Get_Double(unsigned char code, const void* bytes)
{
    return Get<double>(code, bytes);
}

const unsigned char* Put_Short(unsigned char code, short value)
{
    return Put(code, value);
}

const unsigned char* Put_UShort(unsigned char code, unsigned short value)
{
    return Put(code, value);
}

const unsigned char* Put_Int(unsigned char code, int value)
{
    return Put(code, value);
}

const unsigned char* Put_Float(unsigned char code, float value)
{
    return Put(code, value);
}

const unsigned char* Put_Double(unsigned char code, double value)
{
    return Put(code, value);
}
