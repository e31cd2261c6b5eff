#include "mend/writing/output.h"

#include "mend/io/deflate.h"
#include "mend/io/places.h"

#include <algorithm>
#include <utility>

namespace lib_mend {

namespace {

/** A multiple of every width, so that no unit is cut in two. */
constexpr std::int64_t Block = std::int64_t{1} << 18;

/** Too little to be worth a call of its own. */
constexpr std::int64_t Least_Range = std::int64_t{1} << 20;

bool Give_Extent(const Extent& extent, const File_Taker& file)
{
    const int descriptor = extent.source != nullptr ? extent.source->Descriptor() : -1;
    const bool may_copy =
        file.copy != nullptr && descriptor >= 0 && extent.width <= 1 && extent.size >= Least_Range;
    const std::int64_t copied = may_copy ? file.copy(descriptor, extent.offset, extent.size) : 0;
    Bytes block(static_cast<std::size_t>(std::min(Block, extent.size - copied)));
    for (std::int64_t done = copied; done < extent.size;) {
        const auto size = static_cast<std::size_t>(std::min(Block, extent.size - done));
        const std::span<unsigned char> piece(block.data(), size);
        if (extent.source != nullptr) {
            if (extent.source->Read(extent.offset + done, piece) != size) {
                return false;
            }
            Reverse_Units(piece, extent.width);
        }
        if (!file.take(piece)) {
            return false;
        }
        done += static_cast<std::int64_t>(size);
    }
    return true;
}

}  // namespace

void Reverse_Units(std::span<unsigned char> bytes, int width)
{
    const auto step = static_cast<std::size_t>(width);
    for (std::size_t at = 0; width > 1 && at + step <= bytes.size(); at += step) {
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at + step));
    }
}

void Put_Stored(const std::shared_ptr<Source>& source, const DICOM_List& record, int width,
                Output& out)
{
    const std::int64_t stored = Stored_Size_Of(record);
    std::int64_t zeros = Size_Of(record) - stored;
    const std::int64_t rest = zeros > 0 ? stored % width : 0;
    out.Copy({source, Value_Position_Of(record), stored - rest, width});
    if (rest > 0) {
        // The unit in which the zeros begin.
        Bytes unit(static_cast<std::size_t>(std::min<std::int64_t>(width, rest + zeros)));
        source->Read(Value_Position_Of(record) + stored - rest,
                     std::span(unit).first(static_cast<std::size_t>(rest)));
        zeros -= std::ssize(unit) - rest;
        Reverse_Units(unit, width);
        out.Put(unit);
    }
    out.Copy({nullptr, 0, zeros, 1});
}

void Encoded_File::Put(std::span<const unsigned char> bytes)
{
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void Encoded_File::Copy(const Extent& extent)
{
    if (extent.size > 0) {
        extents_.push_back({bytes_.size(), extent});
    }
}

void Encoded_File::Put_Deflated(std::shared_ptr<const Encoded_File> plain)
{
    deflated_ = std::move(plain);
}

std::int64_t Encoded_File::Size() const
{
    auto size = static_cast<std::int64_t>(bytes_.size());
    for (const Placed_Extent& placed : extents_) {
        size += placed.extent.size;
    }
    return size;
}

void Encoded_File::Clear()
{
    bytes_.clear();
    extents_.clear();
    deflated_ = nullptr;
}

bool Encoded_File::Give(const File_Taker& file) const
{
    const std::span<const unsigned char> own(bytes_);
    std::size_t at = 0;
    const auto give_own = [&](std::size_t end) {
        const std::span<const unsigned char> piece = own.subspan(at, end - at);
        at = end;
        return piece.empty() || file.take(piece);
    };
    for (const Placed_Extent& placed : extents_) {
        if (!give_own(placed.behind) || !Give_Extent(placed.extent, file)) {
            return false;
        }
    }
    const Piece_Giver give_plain = [this](const Piece_Taker& take) {
        return deflated_->Give(take);
    };
    return give_own(own.size()) && (deflated_ == nullptr || Deflate(give_plain, file.take));
}

std::vector<Encoded_File::Part> Encoded_File::Parts() const
{
    std::vector<Part> parts;
    std::int64_t start = 0;
    std::size_t at = 0;
    const auto add = [&](std::int64_t size, const unsigned char* own, const Extent& extent) {
        if (size > 0) {
            parts.push_back({start, size, own, extent});
            start += size;
        }
    };
    for (const Placed_Extent& placed : extents_) {
        add(static_cast<std::int64_t>(placed.behind - at), bytes_.data() + at, {});
        add(placed.extent.size, nullptr, placed.extent);
        at = placed.behind;
    }
    add(static_cast<std::int64_t>(bytes_.size() - at), bytes_.data() + at, {});
    return parts;
}

Bytes Encoded_File::Joined() const
{
    Bytes all;
    Give(Piece_Taker([&](std::span<const unsigned char> piece) {
        all.insert(all.end(), piece.begin(), piece.end());
        return true;
    }));
    return all;
}

}  // namespace lib_mend
