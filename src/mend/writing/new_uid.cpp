#include "mend/writing/new_uid.h"

#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace lib_mend {

namespace {

/** Calls `visit` for all values; those in the source come piece by piece. */
template <class Visit>
void For_Each_Piece(const Data_Set& set, Visit&& visit)
{
    std::array<unsigned char, 65536> block;
    Tree_Walk walk(set.records.Head());
    while (const DICOM_List* const record = walk.Next()) {
        const std::int64_t size = Has_Value(*record) ? Size_Of(*record) : 0;
        if (record->data != nullptr) {
            visit({record->data, static_cast<std::size_t>(size)});
            continue;
        }
        for (std::int64_t at = 0; at < size; at += std::ssize(block)) {
            const auto wanted =
                static_cast<std::size_t>(std::min<std::int64_t>(size - at, std::ssize(block)));
            const std::size_t count = set.Read(*record, at, {block.data(), wanted});
            visit({block.data(), count});
            if (count != wanted) {
                break;
            }
        }
    }
}

constexpr std::uint64_t Prime = 1099511628211ULL;

/** Two sums of 64 bits after Fowler, Noll and Vo, eight bytes at a step. */
class Sums {
public:
    void Add(std::span<const unsigned char> bytes)
    {
        while (!bytes.empty()) {
            std::uint64_t word = 0;
            const std::size_t size = std::min(bytes.size(), sizeof word);
            std::memcpy(&word, bytes.data(), size);
            Add(word);
            bytes = bytes.subspan(size);
        }
    }
    std::array<std::uint64_t, 2> Both() const
    {
        return {high_, low_};
    }

private:
    void Add(std::uint64_t word)
    {
        // The product carries upwards only; the turn brings the upper bits down again.
        constexpr int Turn = 29;
        high_ = std::rotl(high_ ^ word, Turn) * Prime;
        low_ = std::rotl(low_ ^ (word + 1U), Turn) * Prime;
    }

    std::uint64_t high_ = 14695981039346656037ULL;
    std::uint64_t low_ = 1469598103934665603ULL;
};

}  // namespace

std::string Make_UID(Data_Set& set, Tag purpose)
{
    if (!set.sums.has_value()) {
        Sums sums;
        For_Each_Piece(set, [&sums](std::span<const unsigned char> piece) { sums.Add(piece); });
        set.sums = sums.Both();
    }
    const std::uint64_t number = std::uint64_t{purpose.group} << 16 | purpose.element;
    std::uint64_t high = (set.sums->front() ^ number) * Prime;
    std::uint64_t low = (set.sums->back() ^ number) * Prime;
    // Version 8 and the variant of a UUID, whose contents are the application's own.
    high = (high & ~0xF000ULL) | 0x8000ULL;
    low = (low & ~(3ULL << 62)) | 2ULL << 62;
    std::string digits;
    while (high != 0 || low != 0) {
        // Division of the 128-bit number by 10, in steps of 32 bits.
        std::uint64_t rest = 0;
        std::uint64_t parts[] = {high >> 32, high & 0xFFFFFFFFU, low >> 32, low & 0xFFFFFFFFU};
        for (std::uint64_t& part : parts) {
            const std::uint64_t dividend = rest << 32 | part;
            part = dividend / 10;
            rest = dividend % 10;
        }
        high = parts[0] << 32 | parts[1];
        low = parts[2] << 32 | parts[3];
        digits.insert(digits.begin(), static_cast<char>('0' + rest));
    }
    return "2.25." + digits;
}

}  // namespace lib_mend
