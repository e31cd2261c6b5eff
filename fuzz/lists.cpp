// Operations on the nested lists that the reading loop and the formatting make of a stream.
//
// Input: the byte-order code of the stream; the bits of the removal; a tag to delete; the stream.
#include "fuzz_target.h"
#include "support/flat_reader.h"

namespace {

using namespace lib_mend;

void Require_Sound(DICOM_List* list, int depth)
{
    for (const DICOM_List& record : Records(list)) {
        fuzz::Require(record.depth <= depth, "a record is no deeper than its list");
        fuzz::Require(record.nb_item >= 0 && (record.nb_item == 0 || record.item != nullptr),
                      "a record has as many slots as it says");
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Require_Sound(Item_Of(record, i), depth + 1);
        }
    }
}

void Require_Sorted(DICOM_List* list)
{
    for (const DICOM_List& record : Records(list)) {
        fuzz::Require(record.next == nullptr || Tag_Of(record) <= Tag_Of(*record.next),
                      "a sorted list ascends");
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            Require_Sorted(Item_Of(record, i));
        }
    }
}

/** Tags, sizes and values of a list and its items. */
std::string Describe(DICOM_List* list)
{
    std::string text;
    for (const DICOM_List& record : Records(list)) {
        text += Tag_Text(Tag_Of(record)) + ":" + std::to_string(record.size);
        if (record.data != nullptr && record.size > 0) {
            text.append(record.data, record.data + record.size);
        }
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            text += "[" + Describe(Item_Of(record, i)) + "]";
        }
    }
    return text;
}

bool Holds(DICOM_List* list, Tag tag)
{
    bool found = false;
    For_Each_Record(list,
                    [&](const DICOM_List& record) { found = found || Tag_Of(record) == tag; });
    return found;
}

void Check_Copy(DICOM_List* list)
{
    DICOM_Root root = {};
    Record_List copy;
    if (DICOM_Attribute_Copy(nullptr, &root, copy.Address(), list) != 0) {
        Require_Sound(copy.Head(), 0);
    }
    fuzz::Require(root.Sequence_Depth == 0, "a walk closes the sequences that it opened");
}

void Check_Stream(DICOM_List* list, char code)
{
    char* bytes = nullptr;
    const int size = DICOM_List2Stream(nullptr, code, list, &bytes);
    fuzz::Require(size >= 0 && (size == 0 || bytes != nullptr), "a stream has its size");
    DICOM_Lib_Free(&bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto code = static_cast<unsigned char>(input.Byte() & 0x09);
    const std::uint8_t mode = input.Byte();
    const Tag tag = {input.Short(), input.Short()};

    Findings findings;
    const Library_Session session(findings);
    const Record_List flat = Read_Flat(Source::From_Image(input.Rest(), "fuzz"), code);
    Record_List list(DICOM_Attribute_Format(nullptr, flat.Head()));
    Require_Sound(list.Head(), 0);

    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, list.Head());
    DICOM_Attribute_Assign_Info(nullptr, &root, flat.Head(), list.Head());
    Check_Copy(list.Head());
    Check_Stream(list.Head(), static_cast<char>(code));
    if ((mode & 0x20) != 0) {
        DICOM_Attribute_Cleanup(nullptr, &root, list.Head());
    }
    DICOM_Attribute_Sort(nullptr, &root, list.Address());
    Require_Sorted(list.Head());
    const std::string sorted = Describe(list.Head());
    DICOM_Attribute_Sort(nullptr, &root, list.Address());
    fuzz::Require(Describe(list.Head()) == sorted, "a sorted list stays as it is");
    Check_Copy(list.Head());

    DICOM_Attribute_Delete(nullptr, &root, list.Address(), tag.group, tag.element);
    fuzz::Require(!Holds(list.Head(), tag), "what was deleted is gone");
    DICOM_Attribute_Delete(nullptr, &root, list.Address(), "00?9", "10*");
    DICOM_Attribute_Remove(nullptr, list.Address(), mode & 0x1F);
    For_Each_Record(list.Head(), [](const DICOM_List& record) {
        fuzz::Require((record.flags & DICOM_Mark_Invalid) == 0, "what is invalid is removed");
    });
    Require_Sound(list.Head(), 0);
    Check_Stream(list.Head(), static_cast<char>(code));
    fuzz::Require(root.Sequence_Depth == 0, "a walk closes the sequences that it opened");
    return 0;
}
