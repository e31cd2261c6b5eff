// What a client does between reading and writing: listing, the check of values, and the steps that
// bring a data set into line with a module list, here the upper half of the same stream.
//
// Input: the byte-order code of the stream; a mark for the module's records; the stream.
#include "fuzz_target.h"
#include "support/flat_reader.h"

namespace {

using namespace lib_mend;

constexpr int Listing_Flag = 5;

Record_List Read_List(std::span<const unsigned char> bytes, unsigned char code)
{
    const Record_List flat = Read_Flat(Source::From_Image(bytes, "fuzz"), code);
    Record_List list(DICOM_Attribute_Format(nullptr, flat.Head()));
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, list.Head());
    DICOM_Attribute_Sort(nullptr, &root, list.Address());
    return list;
}

/** Texts and lines of all records, and the check that changes nothing. */
void Show(DICOM_List* list)
{
    DICOM_Root root = {};
    DICOM_Attribute_Stool(nullptr, &root, list, Listing_Flag);
    For_Each_Record(list, [](DICOM_List& record) {
        DICOM_Attribute_Stool_Data(nullptr, &record, Listing_Flag);
        char* text = DICOM_Attribute_Get_Data(nullptr, &record);
        fuzz::Require(text == nullptr || std::strlen(text) < (std::size_t{1} << 20),
                      "a text is in proportion");
        DICOM_Lib_Free(&text);
    });
    DICOM_Attribute_Syntax(nullptr, &root, list);
    fuzz::Require(root.Sequence_Depth == 0, "a walk closes the sequences that it opened");
}

/** Marks and types as a module file would give them. */
void Make_Module(DICOM_List* list, unsigned short mark)
{
    constexpr unsigned short Types[] = {DICOM_VR('1', ' '), DICOM_VR('1', 'C'), DICOM_VR('2', ' '),
                                        DICOM_VR('2', 'C'), DICOM_VR('3', ' ')};
    For_Each_Record(list, [&](DICOM_List& record) {
        record.type = Types[record.element % std::size(Types)];
        record.flags = static_cast<unsigned short>(DICOM_Origin_Module | mark);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto code = static_cast<unsigned char>(input.Byte() & 0x09);
    constexpr unsigned short Marks[] = {DICOM_Mark_Forced, DICOM_Mark_Default, DICOM_Mark_Append,
                                        DICOM_Mark_Delete_Request};
    const unsigned short mark = Marks[input.Byte() % std::size(Marks)];
    const std::span<const unsigned char> bytes = input.Rest();

    Findings findings;
    const Library_Session session(findings);
    DICOM_Lib_File_Source = NEMA_Source_Memory;
    DICOM_Lib_File_Name =
        static_cast<wchar_t*>(static_cast<void*>(const_cast<unsigned char*>(bytes.data())));
    DICOM_Lib_Image_Size = static_cast<unsigned int>(bytes.size());
    Record_List list = Read_List(bytes, code);
    // Positions of the module's values are those of the whole image, so it holds what is in memory.
    Record_List module =
        Read_List(bytes.first(std::min<std::size_t>(bytes.size() / 2, 1024)), code);
    Make_Module(module.Head(), mark);
    Show(list.Head());

    DICOM_Root root = {};
    DICOM_Postproc_Overwrite(nullptr, &root, list.Address(), module.Head(), mark);
    DICOM_Postproc_Step_1(nullptr, &root, list.Address(), module.Head(), mark);
    DICOM_Attribute_Sort(nullptr, &root, list.Address());
    DICOM_Postproc_Step_2(nullptr, &root, list.Head(), 0);
    DICOM_Postproc_Step_4(nullptr, &root, list.Address(), module.Head());
    DICOM_Postproc_Step_5(nullptr, &root, list.Head());
    DICOM_Postproc_Verification(nullptr, &root, list.Head(), module.Head(), 0);
    for (DICOM_List& node : Records(module.Head())) {
        DICOM_Module_Add(nullptr, &root, list.Address(), &node, nullptr);
    }
    fuzz::Require(root.Sequence_Depth == 0, "a walk closes the sequences that it opened");
    Show(list.Head());
    DICOM_Lib_File_Name = nullptr;
    DICOM_Lib_Image_Size = 0;
    return 0;
}
