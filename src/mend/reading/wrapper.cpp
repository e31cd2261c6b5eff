// A file inside the frame of a compression, or with the bytes of each pair exchanged.
//
//   gzip       1F 8B 08 ...                          unpacked
//   zlib       78 9C ...                             unpacked
//   exchanged  pp * 128  I D M C  00 02 00 00 L U    brought back
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

/** A frame that was taken off, and the bytes that it stood in. */
struct Layer {
    const char* frame;
    std::shared_ptr<Source> wrapped;
    Inflated inflated;
};

void Report_Layer(Data_Set& set, const Layer& layer, Findings& findings)
{
    const std::string frame = layer.frame;
    findings.Report(Fault::Wrapper, Level::Change, {},
                    "the file stands in a " + frame + " wrapper, and is taken out of it");
    if (!layer.inflated.complete) {
        findings.Report(Fault::Truncated, Level::Error, {},
                        "the " + frame + " wrapper is damaged: " + layer.inflated.error);
        return;
    }
    const std::int64_t behind = layer.wrapped->Size() - layer.inflated.used;
    if (behind > 0) {
        findings.Report(Fault::Trailing, Level::Change, {},
                        std::to_string(behind) + (behind == 1 ? " byte stands" : " bytes stand") +
                            " behind the " + frame + " wrapper");
        set.skipped.push_back({layer.inflated.used, behind, layer.wrapped});
    }
}

/** A file may be packed more than once; all its layers share what one of them may cost. */
void Unpack(Data_Set& set, const Spool_Limits& limits, Memory_Budget& budget, Findings& findings)
{
    constexpr std::size_t Most_Layers = 4;
    auto left = Memory_Budget::Of_Deflated(set.source->Size(), limits);
    std::vector<Layer> layers;
    std::shared_ptr<Source> inside = set.source;
    while (const char* const frame = Frame_Of(*inside)) {
        const bool is_last = layers.size() + 1 == Most_Layers;
        const auto is_wanted = [is_last](const std::shared_ptr<Source>& head) {
            return Find_Start(*head).found || (!is_last && Frame_Of(*head) != nullptr);
        };
        const Inflated inflated = Inflate(*inside, 0,
                                          {.largest = left.Largest_Inflated(),
                                           .most_in_memory = limits.in_memory,
                                           .frame = Deflate_Frame::Gzip_Or_Zlib,
                                           .is_wanted = is_wanted});
        if (inflated.source == nullptr || inflated.source->Size() == 0) {
            return;
        }
        layers.push_back({frame, inside, inflated});
        inside = inflated.source;
        left.Take_Inflated(inside->Size());
    }
    budget = left;
    set.source = inside;
    for (const Layer& layer : layers) {
        Report_Layer(set, layer, findings);
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

void Exchange(Data_Set& set, const Spool_Limits& limits, Findings& findings)
{
    constexpr std::size_t Block_Size = std::size_t{1} << 16;
    Spool spool(limits.in_memory);
    for (std::size_t count = Block_Size; count == Block_Size;) {
        Bytes block(Block_Size);
        count = set.source->Read(spool.Size(), block);
        for (std::size_t i = 0; i + 1 < count; i += 2) {
            std::swap(block[i], block[i + 1]);
        }
        spool.Put(std::span(block).first(count));
    }
    set.source = spool.Finish(set.source->Name());
    findings.Report(Fault::Wrapper, Level::Change, {},
                    "the bytes of each pair are exchanged throughout the file");
}

}  // namespace

void Unwrap(Data_Set& set, const Spool_Limits& limits, Memory_Budget& budget, Findings& findings)
{
    if (Frame_Of(*set.source) != nullptr) {
        Unpack(set, limits, budget, findings);
    } else if (Is_Exchanged(*set.source)) {
        Exchange(set, limits, findings);
    }
}

}  // namespace lib_mend
