// Prints how much of damaged files comes back, by kind of fault, as the table of docs/faults.md.
//
//   recovery_table [PLACES] [FILE...]   each kind at up to PLACES elements of the made files and of
//                                       those of FILE that are sound once they are mended
//   recovery_table -v KIND ...          what is missing in the cases of a kind ("": of all), and what was said
//   recovery_table -p FILE...           which promises do not hold for a file, with all output options
#include "support/promises.h"
#include "support/recovery.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

void Print_Missing(const std::vector<Sound_File>& files, int places, const char* kind)
{
    for (const Sound_File& file : files) {
        For_Each_Fault(file, places, [&](const Fault_Case& fault) {
            if (*kind != '\0' && fault.kind != kind) {
                return;
            }
            const Mended_File mended = Mend_In_Memory(fault.bytes);
            const Recovery recovery = Recovery_Of(fault, mended);
            if (recovery.recovered != recovery.wanted || !recovery.said) {
                std::printf("== %s: %s (%s) %zu of %zu; %s\n%s%s\n", file.name.c_str(),
                            fault.kind.c_str(), fault.damaged.c_str(), recovery.recovered,
                            recovery.wanted, Read_Plain(mended.bytes).error.c_str(),
                            recovery.missing.substr(0, 300).c_str(),
                            mended.Faults().substr(0, 1500).c_str());
            }
        });
    }
}

std::string File_Bytes(const char* path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/** 1 when a promise does not hold. */
int Print_Broken_Promises(int count, char** paths)
{
    int status = 0;
    for (int i = 0; i < count; ++i) {
        for (const lib_mend::Mend_Options& options : All_Output_Options()) {
            const std::string broken = Broken_Promises(File_Bytes(paths[i]), options);
            if (!broken.empty()) {
                std::printf("== %s, %s\n%s", paths[i], Options_Text(options).c_str(),
                            broken.substr(0, 2000).c_str());
                status = 1;
            }
        }
    }
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "-p") == 0) {
        return Print_Broken_Promises(argc - 2, argv + 2);
    }
    int next = 1;
    const bool verbose = argc > 2 && std::strcmp(argv[1], "-v") == 0;
    const char* const kind = verbose ? argv[2] : "";
    next += verbose ? 2 : 0;
    const int places = argc > next ? std::atoi(argv[next++]) : 8;
    std::vector<Sound_File> files = Made_Sound_Files();
    for (; next < argc; ++next) {
        // What mending changes in the file itself is no loss.
        Sound_File file = As_Sound_File(argv[next], Mend_In_Memory(File_Bytes(argv[next])).bytes);
        if (file.plain.error.empty() && file.plain.syntax != "1.2.840.10008.1.2.1.99") {
            files.push_back(std::move(file));
        }
    }
    if (verbose) {
        Print_Missing(files, places, kind);
        return 0;
    }
    std::printf("| fault | cases | elements recovered | worst | pictures | unsaid | read plainly | "
                "pictures read plainly | converted | pictures converted |\n"
                "|---|---|---|---|---|---|---|---|---|---|\n");
    for (const Kind_Of_Fault_Count& row : Count_Recovery(files, places)) {
        std::printf(
            "| %s | %zu | %.1f %% | %.1f %% | %zu of %zu | %zu | %.1f %% | %zu | %.1f %% | %zu |\n",
            row.kind.c_str(), row.cases, 100 * row.Average(row.recovered), 100 * row.worst,
            row.pictures_recovered, row.pictures, row.unsaid, 100 * row.Average(row.read_plainly),
            row.pictures_read_plainly, 100 * row.Average(row.converted), row.pictures_converted);
    }
    return 0;
}
