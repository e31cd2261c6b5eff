// A file inside the frame of a compression, or with the bytes of each pair exchanged.
//
//   gzip       1F 8B 08 ...                          unpacked in memory
//   zlib       78 9C ...                             unpacked in memory
//   exchanged  pp * 128  I D M C  00 02 00 00 L U    brought back in memory
//
// What is said: the wrapper, which the output does not have; how it is damaged, when it is; and the
// bytes that stand behind it. What is inside has to look like a DICOM file: other files stay wrapped.
#include "mend/reading/wrapper.h"

#include "mend/reading/preamble.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

/** Name of the frame in which a file stands, null for none. */
const char* Frame_Of(const Source& file)
{
    std::array<unsigned char, 3> bytes = {};
    if (file.Read(0, bytes) != bytes.size()) {
        return nullptr;
    }
    if (bytes[0] == 0x1F && bytes[1] == 0x8B && bytes[2] == 8) {
        return "gzip";
    }
    // The second byte makes the pair a multiple of 31.
    constexpr unsigned int Window_Of_32K = 0x78;
    const bool is_zlib =
        bytes[0] == Window_Of_32K && (bytes[0] << 8 | bytes[1]) % 31 == 0 && (bytes[1] & 0x20) == 0;
    return is_zlib ? "zlib" : nullptr;
}

void Unpack(Data_Set& set, const std::string& frame, Memory_Budget& budget, Findings& findings)
{
    const std::shared_ptr<Source> file = set.source;
    const auto allowed = Memory_Budget::Of_Deflated(file->Size());
    Inflated inflated = Inflate(*file, 0, allowed.Largest_Inflated(), Deflate_Frame::Gzip_Or_Zlib);
    const auto inside = Source::From_Bytes(std::move(inflated.bytes), file->Name());
    if (!Find_Start(*inside).found) {
        return;
    }
    budget = allowed;
    budget.Take_Inflated(inside->Size());
    set.source = inside;
    findings.Report(Fault::Wrapper, Level::Change, {},
                    "the file stands in a " + frame + " wrapper, and is taken out of it");
    if (!inflated.complete) {
        findings.Report(Fault::Truncated, Level::Error, {},
                        "the " + frame + " wrapper is damaged: " + inflated.error);
        return;
    }
    const std::int64_t behind = file->Size() - inflated.used;
    if (behind > 0) {
        findings.Report(Fault::Trailing, Level::Change, {},
                        std::to_string(behind) + (behind == 1 ? " byte stands" : " bytes stand") +
                            " behind the " + frame + " wrapper");
        set.skipped.push_back({inflated.used, behind, file});
    }
}

/** "DICM" and the first tag of group 0002 with the bytes of each pair exchanged. */
bool Is_Exchanged(const Source& file)
{
    constexpr std::array<unsigned char, 8> Exchanged = {'I', 'D', 'M', 'C', 0, 2, 0, 0};
    constexpr std::int64_t Preamble_Size = 128;
    std::array<unsigned char, 8> bytes = {};
    return file.Read(Preamble_Size, bytes) == bytes.size() && bytes == Exchanged;
}

void Exchange(Data_Set& set, Findings& findings)
{
    Bytes bytes(static_cast<std::size_t>(set.source->Size()));
    bytes.resize(set.source->Read(0, bytes));
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    set.source = Source::From_Bytes(std::move(bytes), set.source->Name());
    findings.Report(Fault::Wrapper, Level::Change, {},
                    "the bytes of each pair are exchanged throughout the file");
}

}  // namespace

void Unwrap(Data_Set& set, Memory_Budget& budget, Findings& findings)
{
    if (const char* const frame = Frame_Of(*set.source)) {
        Unpack(set, frame, budget, findings);
    } else if (Is_Exchanged(*set.source)) {
        Exchange(set, findings);
    }
}

}  // namespace lib_mend
