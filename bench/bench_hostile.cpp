// Time for inputs that are made to hurt, a megabyte each: every line has to stay far below a second.
//
//   bench_hostile [KILOBYTES] [record]     other sizes; `record` keeps what is changed in the file
#include "mend/interface/mend.h"
#include "mend/reading/reader.h"
#include "support/hostile_inputs.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

namespace {

using lib_mend::Data_Set;
using lib_mend::Encoded_File;
using lib_mend::Findings;
using lib_mend::Library_Session;
using lib_mend::Record_List;
using lib_mend::Source;

Data_Set Read(const std::string& file, Findings& findings)
{
    const std::span<const unsigned char> image(reinterpret_cast<const unsigned char*>(file.data()),
                                               file.size());
    return lib_mend::Read_Data_Set(Source::From_Image(image, "hostile"), findings);
}

void Read_And_Mend(benchmark::State& state, const std::string& file, bool record)
{
    lib_mend::Mend_Options options;
    options.heal.record = record;
    for (auto step : state) {
        Findings findings;
        const Library_Session session(findings);
        Data_Set set = Read(file, findings);
        Encoded_File out;
        benchmark::DoNotOptimize(lib_mend::Mend(set, options, findings, out));
    }
}

// ---- operations on lists that the reading of a file does not call

/** A list of empty private elements in ascending order, every `step`th of the possible ones. */
Record_List Ascending(int count, unsigned int step)
{
    Record_List list;
    DICOM_Root root = {};
    for (unsigned int i = 0; i < static_cast<unsigned int>(count) * step; i += step) {
        DICOM_Attribute_Find(nullptr, &root, list.Address(),
                             static_cast<unsigned short>(0x0009 + 2 * (i >> 12U)),
                             static_cast<unsigned short>(0x1000 + (i & 0xFFFU)));
    }
    return list;
}

constexpr int Records = 100'000;

void Find_In_Order(benchmark::State& state)
{
    for (auto step : state) {
        benchmark::DoNotOptimize(Ascending(Records, 1).Head());
    }
}

void Copy_Into_Every_Other(benchmark::State& state)
{
    const Record_List source = Ascending(Records, 1);
    for (auto step : state) {
        Record_List target = Ascending(Records / 2, 2);
        DICOM_Root root = {};
        DICOM_Attribute_Copy(nullptr, &root, target.Address(), source.Head());
    }
}

void Assign_Info_In_Order(benchmark::State& state)
{
    const Record_List reference = Ascending(Records / 2, 2);
    const Record_List target = Ascending(Records, 1);
    for (auto step : state) {
        DICOM_Root root = {};
        DICOM_Attribute_Assign_Info(nullptr, &root, reference.Head(), target.Head());
    }
}

/** What a list of items costs when it is merged and when it gets the information of another. */
void Copy_And_Assign_Items(benchmark::State& state)
{
    Findings findings;
    const Library_Session session(findings);
    const std::string file = hostile::Structures(hostile::Megabyte)[2].file;
    const Data_Set set = Read(file, findings);
    for (auto step : state) {
        Record_List target;
        DICOM_Root root = {};
        DICOM_Attribute_Copy(nullptr, &root, target.Address(), set.records.Head());
        DICOM_Attribute_Copy(nullptr, &root, target.Address(), set.records.Head());
        DICOM_Attribute_Assign_Info(nullptr, &root, set.records.Head(), target.Head());
    }
}

void Overwrite_And_Verify(benchmark::State& state)
{
    constexpr int Attributes = 20'000;
    const Record_List module = Ascending(Attributes, 1);
    for (DICOM_List* node = module.Head(); node != nullptr; node = node->next) {
        node->flags = DICOM_Mark_Forced;
        node->type = DICOM_VR('2', ' ');
    }
    for (auto step : state) {
        Record_List list = Ascending(Attributes, 1);
        DICOM_Root root = {};
        DICOM_Postproc_Overwrite(nullptr, &root, list.Address(), module.Head(), DICOM_Mark_Forced);
        DICOM_Postproc_Verification(nullptr, &root, list.Head(), module.Head(), 0);
    }
}

void Delete_And_Remove(benchmark::State& state)
{
    for (auto step : state) {
        Record_List list = Ascending(Records, 1);
        DICOM_Root root = {};
        DICOM_Attribute_Delete(nullptr, &root, list.Address(), "*", "*0");
        DICOM_Attribute_Remove(nullptr, list.Address(), DICOM_Remove_Group_Lengths);
        DICOM_Attribute_Delete(nullptr, &root, list.Address(), 0xFFF1, 0xFFFF);
    }
}

void Extract_Values(benchmark::State& state)
{
    std::string text = hostile::Repeated("1^2^3\\", hostile::Megabyte);
    DICOM_List record = {};
    record.data = reinterpret_cast<unsigned char*>(text.data());
    record.size = static_cast<int>(text.size());
    for (auto step : state) {
        benchmark::DoNotOptimize(NEMA_Value_Str(nullptr, &record, VR_LO));
        benchmark::DoNotOptimize(NEMA_Value_Int(nullptr, &record, VR_IS));
        benchmark::DoNotOptimize(NEMA_Value_Float(nullptr, &record, VR_DS));
        benchmark::DoNotOptimize(NEMA_Value_Name(nullptr, &record, VR_PN));
        NEMA_Value_Cleanup();
    }
}

BENCHMARK(Find_In_Order)->Unit(benchmark::kMillisecond);
BENCHMARK(Copy_Into_Every_Other)->Unit(benchmark::kMillisecond);
BENCHMARK(Assign_Info_In_Order)->Unit(benchmark::kMillisecond);
BENCHMARK(Copy_And_Assign_Items)->Unit(benchmark::kMillisecond);
BENCHMARK(Overwrite_And_Verify)->Unit(benchmark::kMillisecond);
BENCHMARK(Delete_And_Remove)->Unit(benchmark::kMillisecond);
BENCHMARK(Extract_Values)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const std::size_t kilobytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0;
    const bool record = argc > 1 && std::string_view(argv[argc - 1]) == "record";
    for (Hostile_Input& input :
         hostile::All(kilobytes != 0 ? kilobytes * 1024 : hostile::Megabyte)) {
        benchmark::RegisterBenchmark(input.name.c_str(), [file = std::move(input.file),
                                                          record](benchmark::State& state) {
            Read_And_Mend(state, file, record);
        })->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
}
