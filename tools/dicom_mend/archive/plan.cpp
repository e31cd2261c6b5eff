#include "archive/plan.h"

#include "archive/processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

constexpr std::int64_t Held_Bytes = std::int64_t{1} << 20;

/** What a frame is about. */
enum Frame : std::uint64_t { File_Frame, Trouble_Frame, End_Frame };

[[noreturn]] void Walk_Ahead(const Walk_Options& options, int pipe)
{
    std::string frames;
    constexpr std::size_t Together = std::size_t{1} << 14;
    const auto put = [&](const Packer& packer, bool at_once) {
        frames += Framed(packer.Bytes());
        if (frames.size() > Together || at_once) {
            if (!Write_All(pipe, frames)) {
                _exit(1);
            }
            frames.clear();
        }
    };
    Walk walk(options);
    Walk_Entry entry;
    for (bool is_first = true; walk.Next(entry); is_first = false) {
        if (!Is_In_Shard(options, entry)) {
            continue;
        }
        Packer packer;
        packer.Put(std::uint64_t{entry.trouble.empty() ? File_Frame : Trouble_Frame});
        Pack(entry.item, packer);
        packer.Put(entry.trouble);
        put(packer, is_first);
    }
    Packer packer;
    packer.Put(std::uint64_t{End_Frame});
    packer.Put(walk.Counts().hidden);
    packer.Put(walk.Counts().links);
    packer.Put(walk.Counts().special);
    put(packer, true);
    _exit(0);
}

}  // namespace

Plan::Plan(const Walk_Options& options) : spool_(Held_Bytes)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe can be made");
    }
    walker_ = Start_Process([&] {
        close(ends[0]);
        Walk_Ahead(options, ends[1]);
    });
    close(ends[1]);
    pipe_ = ends[0];
    fcntl(pipe_, F_SETFL, O_NONBLOCK);
}

Plan::~Plan()
{
    if (pipe_ >= 0) {
        close(pipe_);
    }
    if (walker_ > 0) {
        kill(walker_, SIGKILL);
        waitpid(walker_, nullptr, 0);
    }
}

void Plan::Take()
{
    std::array<char, std::size_t{1} << 16> block;
    ssize_t count = 0;
    while (pipe_ >= 0 && (count = read(pipe_, block.data(), block.size())) > 0) {
        rest_.append(block.data(), static_cast<std::size_t>(count));
        Take_Frames();
    }
    if (count == 0 && pipe_ >= 0) {
        close(pipe_);
        pipe_ = -1;
        waitpid(walker_, nullptr, 0);
        walker_ = -1;
    }
}

void Plan::Take_Frames()
{
    std::size_t at = 0;
    while (rest_.size() - at >= Frame_Head) {
        const std::size_t size = Frame_Head + Frame_Size(rest_.data() + at);
        if (rest_.size() - at < size) {
            break;
        }
        Count(rest_.substr(at + Frame_Head, size - Frame_Head));
        at += size;
    }
    if (at > 0) {
        const std::string_view whole = std::string_view(rest_).substr(0, at);
        spool_.Put({reinterpret_cast<const unsigned char*>(whole.data()), whole.size()});
        rest_.erase(0, at);
    }
}

void Plan::Count(const std::string& frame)
{
    Unpacker bytes(frame);
    switch (bytes.Number()) {
    case File_Frame:
        ++files_;
        bytes_ += Unpack_Item(bytes).size;
        break;
    case End_Frame:
        counts_ = {bytes.Number(), bytes.Number(), bytes.Number()};
        has_end_ = true;
        break;
    default:
        break;
    }
}

bool Plan::Is_Over() const
{
    return Is_Known() && position_ == spool_.Size() && block_at_ == block_.size();
}

std::string_view Plan::Read(std::size_t size)
{
    constexpr std::size_t Together = std::size_t{1} << 16;
    if (block_.size() - block_at_ < size) {
        block_.erase(0, block_at_);
        block_at_ = 0;
        const std::size_t held = block_.size();
        block_.resize(std::max(size, Together));
        const std::size_t count =
            spool_.Read(position_, {reinterpret_cast<unsigned char*>(block_.data()) + held,
                                    block_.size() - held});
        position_ += static_cast<std::int64_t>(count);
        block_.resize(held + count);
    }
    if (block_.size() < size) {
        throw Torn_Pack();
    }
    block_at_ += size;
    return std::string_view(block_).substr(block_at_ - size, size);
}

bool Plan::Next(Walk_Entry& entry)
{
    while (position_ < spool_.Size() || block_at_ < block_.size()) {
        // The spool has whole frames.
        const std::size_t size = Frame_Size(Read(Frame_Head).data());
        Unpacker bytes(Read(size));
        if (bytes.Number() != End_Frame) {
            entry.item = Unpack_Item(bytes);
            entry.trouble = bytes.Text();
            return true;
        }
    }
    return false;
}

bool Plan::Has_No_More()
{
    Take();
    Walk_Entry entry;
    return !Next(entry) && Is_Over();
}

}  // namespace dicom_mend
