#include "mend/writing/encoded_source.h"

#include "mend/io/spool.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace lib_mend {

namespace {

using File_Part = Encoded_File::Part;

constexpr std::int64_t Compared_At_Once = std::int64_t{1} << 16;

/** Bytes of an extent whose units are turned round: whole units are read, and cut to what is wanted. */
std::size_t Read_Turned(const Extent& extent, std::int64_t offset, std::span<unsigned char> out)
{
    const std::int64_t from = offset - offset % extent.width;
    const std::int64_t end = offset + std::ssize(out);
    const std::int64_t units = (end + extent.width - 1) / extent.width * extent.width;
    Bytes whole(static_cast<std::size_t>(std::min(units, extent.size) - from));
    if (extent.source->Read(extent.offset + from, whole) != whole.size()) {
        return 0;
    }
    Reverse_Units(whole, extent.width);
    std::copy_n(whole.begin() + (offset - from), out.size(), out.begin());
    return out.size();
}

/** Bytes of one piece from an offset in it on. */
std::size_t Read_Part(const File_Part& part, std::int64_t offset, std::span<unsigned char> out,
                      int& failure)
{
    if (part.own != nullptr) {
        std::memcpy(out.data(), part.own + offset, out.size());
        return out.size();
    }
    const Extent& extent = part.extent;
    if (extent.source == nullptr) {
        std::fill(out.begin(), out.end(), static_cast<unsigned char>(0));
        return out.size();
    }
    const std::size_t done = extent.width > 1 ? Read_Turned(extent, offset, out)
                                              : extent.source->Read(extent.offset + offset, out);
    failure = extent.source->Failure() != 0 ? extent.source->Failure() : failure;
    return done;
}

/** The pieces of a file, which is kept as long as they are read. */
struct Pieces {
    std::shared_ptr<const Encoded_File> file;
    std::vector<File_Part> parts;

    std::size_t Read(std::int64_t offset, std::span<unsigned char> out, int& failure) const
    {
        auto part =
            std::upper_bound(parts.begin(), parts.end(), offset,
                             [](std::int64_t at, const File_Part& p) { return at < p.start; });
        std::size_t done = 0;
        for (--part; done < out.size() && part != parts.end(); ++part) {
            const std::int64_t from = offset + static_cast<std::int64_t>(done) - part->start;
            const auto size =
                std::min(static_cast<std::size_t>(part->size - from), out.size() - done);
            const std::size_t read = Read_Part(*part, from, out.subspan(done, size), failure);
            done += read;
            if (read < size) {
                break;
            }
        }
        return done;
    }
};

bool Has_Part(const Source& source, const File_Part& part)
{
    if (part.own == nullptr && part.extent.source.get() == &source &&
        part.extent.offset == part.start && part.extent.width <= 1) {
        return true;
    }
    Bytes ours(static_cast<std::size_t>(std::min(Compared_At_Once, part.size)));
    Bytes theirs(ours.size());
    for (std::int64_t at = 0; at < part.size; at += Compared_At_Once) {
        const auto size = static_cast<std::size_t>(std::min(Compared_At_Once, part.size - at));
        int failure = 0;
        if (Read_Part(part, at, std::span(ours).first(size), failure) != size ||
            source.Read(part.start + at, std::span(theirs).first(size)) != size ||
            std::memcmp(ours.data(), theirs.data(), size) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::shared_ptr<Source> Source_Of(std::shared_ptr<const Encoded_File> file, const std::string& name)
{
    if (file->Is_Deflated()) {
        Spool spool(Source::Small_File);
        file->Give(Piece_Taker([&](std::span<const unsigned char> piece) {
            spool.Put(piece);
            return true;
        }));
        return spool.Finish(name);
    }
    const std::int64_t size = file->Size();
    auto pieces = std::make_shared<Pieces>();
    pieces->parts = file->Parts();
    pieces->file = std::move(file);
    return Source::From_Reader(
        [pieces](std::int64_t offset, std::span<unsigned char> out, int& failure) {
            return pieces->Read(offset, out, failure);
        },
        size, name);
}

bool Has_Bytes_Of(const Encoded_File& file, const std::shared_ptr<Source>& source)
{
    if (file.Is_Deflated()) {
        std::int64_t at = 0;
        const bool is_same = file.Give(Piece_Taker([&](std::span<const unsigned char> piece) {
            Bytes theirs(piece.size());
            const bool same = source->Read(at, theirs) == piece.size() &&
                              std::equal(piece.begin(), piece.end(), theirs.begin());
            at += std::ssize(piece);
            return same;
        }));
        return is_same && at == source->Size();
    }
    const std::vector<File_Part> parts = file.Parts();
    return file.Size() == source->Size() &&
           std::all_of(parts.begin(), parts.end(),
                       [&](const File_Part& part) { return Has_Part(*source, part); });
}

}  // namespace lib_mend
