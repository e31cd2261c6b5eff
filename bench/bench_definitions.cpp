// What reading the definitions of one IOD takes: its own file and those that it includes, from the
// directory as it is installed, with nothing kept from before but the dictionary. The first row has
// that to set up too. The largest is to stay below 10 ms.
#include <Lib_DICOM/Lib_DICOM.h>

#include <benchmark/benchmark.h>

#include <filesystem>

namespace {

void Load(benchmark::State& state, const char* iod)
{
    const std::filesystem::path directory = SHIPPED_DEFINITIONS;
    for (auto step : state) {
        DICOM_Module_Setup(nullptr, directory.wstring().c_str());
        if (DICOM_Module_Read(nullptr, iod) == nullptr) {
            state.SkipWithError("no such definitions");
            break;
        }
        state.PauseTiming();
        DICOM_Module_Free();
        state.ResumeTiming();
    }
    DICOM_Lib_Cleanup();
}

/** As the first object of a process finds it: no index, no dictionary. */
void Load_First(benchmark::State& state, const char* sop_class)
{
    const std::filesystem::path directory = SHIPPED_DEFINITIONS;
    for (auto step : state) {
        DICOM_Module_Setup(nullptr, directory.wstring().c_str());
        const char* const iod = DICOM_Module_Name(nullptr, sop_class);
        if (iod == nullptr || DICOM_Module_Read(nullptr, iod) == nullptr) {
            state.SkipWithError("no such definitions");
            break;
        }
        state.PauseTiming();
        DICOM_Lib_Cleanup();
        state.ResumeTiming();
    }
}

BENCHMARK_CAPTURE(Load_First, CT, "1.2.840.10008.5.1.4.1.1.2")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load_First, MR_Enhanced, "1.2.840.10008.5.1.4.1.1.4.1")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, CT, "CT")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, SR_Comprehensive, "SR-COMPREHENSIVE")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, RT_Plan_Ion, "RTPLAN-ION")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, SM_WSI, "SM-WSI")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, XA_Enhanced, "XA-ENHANCED")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, CT_Enhanced, "CT-ENHANCED")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, MR_Enhanced, "MR-ENHANCED")->Unit(benchmark::kMillisecond);

}  // namespace
