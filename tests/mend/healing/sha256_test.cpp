// The hash function, with and without instructions of the processor for it.
#include "mend/healing/sha256.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace lib_mend;

std::string Hexadecimal(const SHA256_Digest& digest)
{
    std::string text;
    for (const unsigned char byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

/** The examples of FIPS 180-4, and one whose length takes a block of its own. */
TEST(SHA256, GivesTheSumsOfItsStandard)
{
    const std::pair<std::string, const char*> examples[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {std::string(1'000'000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    std::vector<bool> ways = {false};
    if (Has_SHA_Instructions()) {
        ways.push_back(true);
    } else {
        std::printf("this processor has no instructions for it\n");
    }
    for (const bool by_instructions : ways) {
        for (const auto& [text, sum] : examples) {
            // Pieces end in front of, at and behind the end of a block.
            for (const std::size_t size : {std::size_t{1}, std::size_t{63}, std::size_t{64},
                                           std::size_t{65}, std::size_t{1'000'000}}) {
                SHA256_Sum pieces(by_instructions);
                for (std::size_t at = 0; at < text.size(); at += size) {
                    pieces.Add(std::string_view(text).substr(at, size));
                }
                EXPECT_EQ(Hexadecimal(pieces.Digest()), sum) << size << by_instructions;
            }
        }
    }
}

}  // namespace
