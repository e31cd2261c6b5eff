// Cost per element of the steps from bytes to bytes, on data sets of 10,000 to 1,000,000 elements.
// The figures to compare are the items per second of one step: they must not fall with the size.
#include "mend/reading/data_set.h"
#include "support/flat_reader.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace {

using lib_mend::Bytes;
using lib_mend::Findings;
using lib_mend::Library_Session;
using lib_mend::Record_List;
using lib_mend::Source;

/** Makes a stream in explicit VR little endian. */
class Stream {
public:
    void Element(unsigned short group, unsigned short element, const char* vr,
                 const std::string& value)
    {
        Tag(group, element);
        Append(vr, 2);
        Append(Put_UShort(0, static_cast<unsigned short>(value.size())), 2);
        Append(value.data(), value.size());
    }
    void Sequence(unsigned short group, unsigned short element)
    {
        Tag(group, element);
        Append("SQ\0", 4);
        Append(Put_Int(0, DICOM_Undefined_Length), 4);
    }
    void Delimiter(unsigned short element, int length)
    {
        Tag(0xFFFE, element);
        Append(Put_Int(0, length), 4);
    }
    Bytes Take()
    {
        return std::move(bytes_);
    }

private:
    void Tag(unsigned short group, unsigned short element)
    {
        Append(Put_UShort(0, group), 2);
        Append(Put_UShort(0, element), 2);
    }
    void Append(const void* bytes, std::size_t size)
    {
        const auto* const first = static_cast<const unsigned char*>(bytes);
        bytes_.insert(bytes_.end(), first, first + size);
    }

    Bytes bytes_;
};

constexpr int Elements_Per_Item = 5;

/** One sequence whose items hold five elements each; half of the values need a repair. */
Bytes Make_Stream(int elements)
{
    Stream stream;
    stream.Sequence(0x0008, 0x1140);
    for (int i = 0; i < elements / Elements_Per_Item; ++i) {
        stream.Delimiter(0xE000, DICOM_Undefined_Length);
        stream.Element(0x0008, 0x0020, "DA", i % 2 == 0 ? "20210131" : "1997.06.24");
        stream.Element(0x0008, 0x0060, "CS", "MR");
        stream.Element(0x0008, 0x0070, "LO", "ACME IMAGING");
        stream.Element(0x0008, 0x1155, "UI", std::string("1.2.999.0.1.4400321\0", 20));
        stream.Element(0x0018, 0x0050, "DS", i % 2 == 0 ? "1.25" : " 1.5");
        stream.Delimiter(0xE00D, 0);
    }
    stream.Delimiter(0xE0DD, 0);
    return stream.Take();
}

/** The stream for a size, made once. */
const Bytes& Stream_Of(int elements)
{
    static std::map<int, Bytes> streams;
    Bytes& stream = streams[elements];
    if (stream.empty()) {
        stream = Make_Stream(elements);
    }
    return stream;
}

Record_List Read(const std::shared_ptr<Source>& source)
{
    return Read_Flat(source, DICOM_Order_Explicit_VR);
}

std::shared_ptr<Source> Image_Of(int elements)
{
    return Source::From_Image(Stream_Of(elements), "benchmark");
}

/** A file that is gone when the benchmark ends. */
class Scratch_File {
public:
    explicit Scratch_File(const Bytes& bytes)
    {
        if (std::FILE* const file = std::fopen(name_, "wb")) {
            std::fwrite(bytes.data(), 1, bytes.size(), file);
            std::fclose(file);
        }
    }
    Scratch_File(const Scratch_File&) = delete;
    Scratch_File& operator=(const Scratch_File&) = delete;
    ~Scratch_File()
    {
        std::remove(name_);
    }
    const char* Name() const
    {
        return name_;
    }

private:
    const char* name_ = "bench_data_set.tmp";
};

void Count_Elements(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Read_From_Memory(benchmark::State& state)
{
    Findings findings;
    const Library_Session session(findings);
    const auto source = Image_Of(static_cast<int>(state.range(0)));
    for (auto step : state) {
        benchmark::DoNotOptimize(Read(source).Head());
    }
    Count_Elements(state);
}

void Read_From_Descriptor(benchmark::State& state)
{
    Findings findings;
    const Library_Session session(findings);
    const Scratch_File file(Stream_Of(static_cast<int>(state.range(0))));
    std::string error;
    const auto source = Source::Open(file.Name(), error, 0);
    if (source == nullptr) {
        state.SkipWithError(error.c_str());
        return;
    }
    for (auto step : state) {
        benchmark::DoNotOptimize(Read(source).Head());
    }
    Count_Elements(state);
}

void Format(benchmark::State& state)
{
    Findings findings;
    const Library_Session session(findings);
    const Record_List flat = Read(Image_Of(static_cast<int>(state.range(0))));
    for (auto step : state) {
        const Record_List nested(DICOM_Attribute_Format(nullptr, flat.Head()));
        benchmark::DoNotOptimize(nested.Head());
    }
    Count_Elements(state);
}

void Clean_Up(benchmark::State& state)
{
    const auto source = Image_Of(static_cast<int>(state.range(0)));
    for (auto step : state) {
        state.PauseTiming();
        Findings findings;
        const Library_Session session(findings);
        const Record_List flat = Read(source);
        const Record_List nested(DICOM_Attribute_Format(nullptr, flat.Head()));
        DICOM_Root root = {};
        state.ResumeTiming();
        DICOM_Attribute_Cleanup(nullptr, &root, nested.Head());
    }
    Count_Elements(state);
}

void Sort_Sorted(benchmark::State& state)
{
    Findings findings;
    const Library_Session session(findings);
    const Record_List flat = Read(Image_Of(static_cast<int>(state.range(0))));
    Record_List nested(DICOM_Attribute_Format(nullptr, flat.Head()));
    for (auto step : state) {
        DICOM_Root root = {};
        DICOM_Attribute_Sort(nullptr, &root, nested.Address());
    }
    Count_Elements(state);
}

void Write(benchmark::State& state)
{
    Findings findings;
    const Library_Session session(findings);
    const Record_List flat = Read(Image_Of(static_cast<int>(state.range(0))));
    Record_List nested(DICOM_Attribute_Format(nullptr, flat.Head()));
    DICOM_Attribute_Remove(nullptr, nested.Address(), DICOM_Remove_Delimiters);
    for (auto step : state) {
        char* buffer = nullptr;
        benchmark::DoNotOptimize(
            DICOM_List2Stream(nullptr, DICOM_Order_Explicit_VR, nested.Head(), &buffer));
        DICOM_Lib_Free(&buffer);
    }
    Count_Elements(state);
}

void Sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(Read_From_Memory)->Apply(Sizes);
BENCHMARK(Read_From_Descriptor)->Apply(Sizes);
BENCHMARK(Format)->Apply(Sizes);
BENCHMARK(Clean_Up)->Apply(Sizes);
BENCHMARK(Sort_Sorted)->Apply(Sizes);
BENCHMARK(Write)->Apply(Sizes);

}  // namespace
