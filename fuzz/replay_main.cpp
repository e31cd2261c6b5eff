// Runs a fuzz target over the files that are named, and over those of folders: the regression
// inputs and the seeds as tests of every build, without a fuzzer.
//
//   fuzz_TARGET FILE-OR-FOLDER...
#include "fuzz_target.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

namespace fs = std::filesystem;

namespace {

void Run(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    // A block of exactly the size, so that a sanitizer sees reads behind its end.
    const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), block.get());
    LLVMFuzzerTestOneInput(block.get(), bytes.size());
}

}  // namespace

int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            Run(argv[i]);
            ++count;
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file()) {
                Run(entry.path());
                ++count;
            }
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
