// JSON to a data set and a data set to JSON.
//
// Input: bit 0 of the first byte tells whether the rest is JSON or a file. What comes out of either has
// a JSON from which the same comes back.
#include "fuzz_target.h"
#include "support/json_round_trip.h"

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const bool is_file = (input.Byte() & 1) != 0;
    const std::string text = input.Text();
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    const lib_mend::Data_Set set = is_file ? Read_Data_Set(Source_Of(text), findings)
                                           : lib_mend::From_JSON(text, "test", findings);
    const std::string differences = JSON_Differences(set);
    std::fputs(differences.c_str(), stderr);
    fuzz::Require(differences.empty(), "the same comes back from JSON");
    return 0;
}
