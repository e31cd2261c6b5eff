// Code tables: the entries that fit a name, and the one that is taken.
//
// Input: the length of the name; the name; the table.
#include "definition_folder.h"

#include <Lib_DICOM/codes.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::Definition_Folder folder;
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const std::size_t length = input.Byte();
    const std::string all = input.Text();
    std::string name = all.substr(0, length);
    folder.Write("codes/f.txt", std::string_view(all).substr(name.size()));

    Code_Match* matches = nullptr;
    const int count = DICOM_Macro_CodeSequence_Rank(name.c_str(), "codes/f.txt", &matches);
    fuzz::Require((count > 0) == (matches != nullptr), "there are as many entries as it says");
    for (int i = 1; i < count; ++i) {
        fuzz::Require(matches[i].score <= matches[i - 1].score, "the best comes first");
    }
    Code_Seq code = {};
    code.original_name = name.data();
    const int coded = DICOM_Macro_CodeSequence_Set(&code, "codes/f.txt");
    fuzz::Require(coded == 0 || code.code_value != nullptr || count <= 0 ||
                      matches[0].code.code_value == nullptr,
                  "a coded record has a value");
    fuzz::Require(coded != 0 || count <= 0, "what fits is taken");
    DICOM_Macro_CodeSequence_Free(&matches, count);
    for (char* const text : {code.code_value, code.coding_scheme, code.code_meaning}) {
        std::free(text);
    }
    DICOM_Macro_Code_Sequence_Reset();
    return 0;
}
