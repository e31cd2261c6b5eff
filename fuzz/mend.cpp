// The whole way of a file through the mending layer: the promises hold for whatever comes in.
//
// Input: options of mending; the file.
#include "fuzz_target.h"
#include "support/promises.h"

#include <cstdio>

namespace {

lib_mend::Mend_Options Options(std::uint8_t byte)
{
    lib_mend::Mend_Options options;
    options.syntax = static_cast<lib_mend::Output_Syntax>(byte & 3);
    options.drop_private = (byte & 4) != 0;
    options.group_lengths = (byte & 8) != 0;
    options.defined_lengths = (byte & 16) != 0;
    options.heal.strict = (byte & 32) != 0;
    options.heal.replace_uids = (byte & 64) != 0;
    return options;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const lib_mend::Mend_Options options = Options(input.Byte());
    const auto rest = input.Rest();
    const std::string broken = Broken_Promises({rest.begin(), rest.end()}, options);
    if (!broken.empty()) {
        std::fprintf(stderr, "%s\n%s", Options_Text(options).c_str(), broken.c_str());
    }
    fuzz::Require(broken.empty(), "the promises hold");
    return 0;
}
