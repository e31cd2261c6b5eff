// Tables of values against their descriptors: as many entries as these promise, of as many bits.
#include "mend/consistency/rules.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

constexpr Tag LUT_Descriptor = {0x0028, 0x3002};
constexpr Tag LUT_Data = {0x0028, 0x3006};

/** The descriptor of a palette, and its table; segmented tables tell their length otherwise. */
struct Palette {
    Tag descriptor;
    Tag data;
};
constexpr Palette Palettes[] = {
    {{0x0028, 0x1101}, {0x0028, 0x1201}},
    {{0x0028, 0x1102}, {0x0028, 0x1202}},
    {{0x0028, 0x1103}, {0x0028, 0x1203}},
};
constexpr Tag Red_Descriptor = Palettes[0].descriptor;

constexpr std::array Tags = {
    LUT_Descriptor,         LUT_Data,         Palettes[0].descriptor, Palettes[1].descriptor,
    Palettes[2].descriptor, Palettes[0].data, Palettes[1].data,       Palettes[2].data};

/** Number of entries, first value mapped, bits of an entry (PS3.3 C.7.6.3.1.5). */
struct Descriptor {
    std::int64_t entries = 0;
    std::int64_t bits = 0;
};

/** Nothing known when there are not three numbers. */
Descriptor Descriptor_In(const Subject_Set& subject, const DICOM_List& record)
{
    constexpr std::int64_t Most = 0x10000;
    const Numbers numbers = subject.Whole_Numbers(record);
    if (numbers.size() != 3) {
        return {};
    }
    // 16 bits do not hold 65536, which is written as 0; as SS it may have become negative.
    const std::int64_t entries = numbers[0] & (Most - 1);
    return {entries == 0 ? Most : entries, numbers[2]};
}

void Check_Table(Subject_Set& subject, const DICOM_List& record, Tag data, const char* clause)
{
    const Descriptor descriptor = Descriptor_In(subject, record);
    const DICOM_List* const table = Behind(record, data);
    if (descriptor.entries == 0 || table == nullptr || Size_Of(*table) <= 0) {
        return;
    }
    const std::int64_t size = Size_Of(*table);
    // Entries of 8 bits have a byte each, or a word.
    const std::int64_t packed = descriptor.entries + descriptor.entries % 2;
    const bool is_packed = descriptor.bits <= 8 && size == packed;
    // That a palette is too short for the image is told where pixel data is looked at.
    const bool is_told = data != LUT_Data && size < descriptor.entries * 2;
    if (size != descriptor.entries * 2 && !is_packed && !is_told) {
        subject.doubts.push_back({table, Fault::Item_Count, Level::Kept,
                                  std::to_string(size) + " bytes for " +
                                      std::to_string(descriptor.entries) + " entries of " +
                                      std::to_string(descriptor.bits) + " bits",
                                  clause});
    }
}

/** Those of green and blue have the number of entries and the bits of that of red. */
void Check_Palettes(Subject_Set& subject, const DICOM_List& red)
{
    const Descriptor wanted = Descriptor_In(subject, red);
    for (const Palette& palette : Palettes) {
        const DICOM_List* const record = Behind(red, palette.descriptor);
        const Descriptor found = record != nullptr ? Descriptor_In(subject, *record) : wanted;
        if (found.entries != 0 && wanted.entries != 0 &&
            (found.entries != wanted.entries || found.bits != wanted.bits)) {
            subject.doubts.push_back({record, Fault::Item_Count, Level::Kept,
                                      "describes a table of another size than that of red",
                                      "PS3.3 C.7.6.3.1.5",
                                      Text_Of(subject.Whole_Numbers(*record))});
        }
    }
}

void Check(Subject_Set& subject)
{
    subject.For_Each([&](const Watched& element) {
        const DICOM_List& record = *element.record;
        if (Tag_Of(record) == LUT_Descriptor) {
            Check_Table(subject, record, LUT_Data, "PS3.3 C.11.1.1.1");
        } else if (Tag_Of(record) == Red_Descriptor) {
            Check_Palettes(subject, record);
        }
        for (const Palette& palette : Palettes) {
            if (Tag_Of(record) == palette.descriptor) {
                Check_Table(subject, record, palette.data, "PS3.3 C.7.6.3.1.6");
            }
        }
    });
}

}  // namespace

constinit const Rule LUT_Rule = {Tags, Check};

}  // namespace lib_mend
