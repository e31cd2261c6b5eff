// The files of the folder that LIB_DICOM_SAMPLES names.
#ifndef TESTS_SAMPLES_H
#define TESTS_SAMPLES_H

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

/** Calls `visit` with the name and the bytes of every sample. Without a folder the test is skipped. */
template <class Visit>
void For_Each_Sample(Visit visit)
{
    const char* const folder = std::getenv("LIB_DICOM_SAMPLES");
    if (folder == nullptr) {
        GTEST_SKIP() << "LIB_DICOM_SAMPLES names no folder of samples";
    }
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".dcm") {
            std::ifstream stream(entry.path(), std::ios::binary);
            visit(entry.path().filename().string(),
                  std::string{std::istreambuf_iterator<char>(stream), {}});
            ++count;
        }
    }
    std::printf("samples used: %d files\n", count);
    EXPECT_GT(count, 0);
}

#endif
