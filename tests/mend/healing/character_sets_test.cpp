// Texts that grow when they become UTF-8. What is declared and converted is in character_sets.md.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

TEST(Texts_To_UTF_8, FitTheirHeaders)
{
    // The longest value of LT in explicit VR, and one character past it.
    for (const std::size_t count : {32767U, 32768U}) {
        Stream_Builder s;
        s.Raw(Part10_Head(lib_mend::Explicit_Little_UID));
        s.Element(0x0008, 0x0005, "CS", "ISO_IR 100");
        s.Element(0x0010, 0x4000, "LT", std::string(count, '\xE9') + std::string(count % 2, ' '));
        lib_mend::Mend_Options options;
        options.heal.to_utf8 = true;
        const Mended_File mended = Mend_In_Memory(s.Bytes(), options);
        const bool fits = count == 32767;
        EXPECT_EQ(mended.Lines().find("error length (0010,4000) the text would be too long in "
                                      "UTF-8; no text is converted\n") == std::string::npos,
                  fits);
        EXPECT_EQ(mended.bytes.find("ISO_IR 192") != std::string::npos, fits);
    }
}

}  // namespace
