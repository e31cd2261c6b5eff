#include "archive/printed.h"

#include "mend/io/spool.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string_view>

#include <unistd.h>

namespace dicom_mend {

namespace {

/** Reads a part of a file in blocks. */
void Read_Part(int descriptor, std::int64_t at, std::int64_t size,
               const std::function<void(std::string_view)>& take)
{
    std::array<char, std::size_t{1} << 16> block;
    while (size > 0) {
        const auto wanted =
            static_cast<std::size_t>(std::min(size, static_cast<std::int64_t>(block.size())));
        const ssize_t count = pread(descriptor, block.data(), wanted, at);
        if (count <= 0) {
            throw std::runtime_error("what a worker printed cannot be read");
        }
        take({block.data(), static_cast<std::size_t>(count)});
        at += count;
        size -= count;
    }
}

}  // namespace

Waiting_Room::Waiting_Room() : descriptor_(lib_mend::Open_Nameless_File(folder_))
{
}

Waiting_Room::~Waiting_Room()
{
    close(descriptor_);
}

void Waiting_Room::Clear()
{
    // Where it cannot be made smaller, what comes next is written over the old texts.
    size_ = 0;
    (void)!ftruncate(descriptor_, 0);
}

std::int64_t Waiting_Room::Take(int descriptor, std::int64_t size)
{
    const std::int64_t at = size_;
    Read_Part(descriptor, 0, size, [this](std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = pwrite(descriptor_, bytes.data(), bytes.size(), size_);
            if (count <= 0) {
                throw std::runtime_error("there is no room in " + folder_ +
                                         " for what a worker printed; TMPDIR names another folder");
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
            size_ += count;
        }
    });
    return at;
}

void Waiting_Room::Print(std::int64_t at, std::int64_t size) const
{
    Read_Part(descriptor_, at, size,
              [](std::string_view bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); });
}

Printed::Printed(int descriptor, std::int64_t size, std::shared_ptr<Waiting_Room>& room)
{
    constexpr std::int64_t Short = 4096;
    if (size <= Short) {
        Read_Part(descriptor, 0, size, [this](std::string_view bytes) { text_ += bytes; });
        return;
    }
    if (room == nullptr) {
        room = std::make_shared<Waiting_Room>();
    } else if (room.use_count() == 1) {
        room->Clear();
    }
    at_ = room->Take(descriptor, size);
    size_ = size;
    room_ = room;
}

void Printed::Print() const
{
    if (room_ != nullptr) {
        room_->Print(at_, size_);
    } else {
        std::fwrite(text_.data(), 1, text_.size(), stdout);
    }
}

}  // namespace dicom_mend
