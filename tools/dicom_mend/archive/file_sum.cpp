#include "archive/file_sum.h"

#include "mend/healing/sha256.h"

#include <array>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dicom_mend {

bool Can_Be_Read_Again(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string Sum_Of_File(const std::string& path)
{
    const int descriptor =
        Can_Be_Read_Again(path) ? open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC) : -1;
    if (descriptor < 0) {
        return {};
    }
    lib_mend::SHA256_Sum sum;
    static std::vector<char> block(std::size_t{1} << 16);
    ssize_t count = 0;
    while ((count = read(descriptor, block.data(), block.size())) > 0) {
        sum.Add({block.data(), static_cast<std::size_t>(count)});
    }
    close(descriptor);
    if (count < 0) {
        return {};
    }
    constexpr char Digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : sum.Digest()) {
        text += Digits[byte >> 4];
        text += Digits[byte & 0xF];
    }
    return text;
}

}  // namespace dicom_mend
