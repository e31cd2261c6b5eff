// The whole way of a file through the mending layer: the promises hold for whatever comes in.
//
// Input: two bytes of options of mending; the file.
#include "fuzz_target.h"
#include "support/promises.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

/** Mostly what the file declares itself. */
constexpr const char* Character_Sets[] = {
    "", "", "", "", "", "ISO_IR 100", "\\ISO 2022 IR 87\\ISO 2022 IR 159", "ISO_IR 192",
};

lib_mend::Mend_Options Options(std::uint8_t of_output, std::uint8_t of_values)
{
    lib_mend::Mend_Options options;
    options.syntax = static_cast<lib_mend::Output_Syntax>(of_output & 3);
    options.drop_private = (of_output & 4) != 0;
    options.group_lengths = (of_output & 8) != 0;
    options.defined_lengths = (of_output & 16) != 0;
    options.heal.strict = (of_output & 32) != 0;
    options.heal.replace_uids = (of_output & 64) != 0;
    options.heal.pad_pixels = (of_values & 1) != 0;
    options.heal.to_utf8 = (of_values & 2) != 0;
    options.heal.record = (of_values & 4) != 0;
    options.heal.record_time = "20240229120000";
    options.heal.charset = Character_Sets[of_values >> 3 & 7];
    return options;
}

/** An image of which so much is missing that filling it takes the memory of the fuzzer. */
bool Lacks_Much(const std::string& file)
{
    constexpr long long Much = 1 << 24;
    const std::vector<lib_mend::Finding> findings = Check_In_Memory(file).findings;
    return std::any_of(findings.begin(), findings.end(), [](const lib_mend::Finding& finding) {
        return finding.fault == lib_mend::Fault::Pixel_Size &&
               std::atoll(finding.text.c_str()) > Much;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::uint8_t of_output = input.Byte();
    lib_mend::Mend_Options options = Options(of_output, input.Byte());
    const auto rest = input.Rest();
    const std::string file(rest.begin(), rest.end());
    options.heal.pad_pixels = options.heal.pad_pixels && !Lacks_Much(file);
    const std::string broken = Broken_Promises(file, options);
    if (!broken.empty()) {
        std::fprintf(stderr, "%s\n%s", Options_Text(options).c_str(), broken.c_str());
    }
    fuzz::Require(broken.empty(), "the promises hold");
    return 0;
}
