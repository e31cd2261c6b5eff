// Private elements: who reserved their block, and what the definitions of that creator say of them.
//
//     (0029,0010) LO "ACME"          reserves the elements (0029,1000) to (0029,10FF) of its list
//     (0029,1001) UN ...             is what the definitions of "ACME" say of (0029,xx01)
//
// In implicit VR, and for VR UN, the definition alone tells how the value is to be read.
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <string_view>

namespace lib_mend {

namespace {

constexpr unsigned short First_Creator = 0x0010;
constexpr unsigned short Last_Creator = 0x00FF;
constexpr unsigned short First_Private_Element = 0x1000;

bool Consists_Of(std::span<const unsigned char> value, std::string_view allowed)
{
    return std::all_of(value.begin(), value.end(), [allowed](unsigned char byte) {
        return allowed.find(static_cast<char>(byte)) != std::string_view::npos;
    });
}

int Width_Of(unsigned short vr)
{
    switch (vr) {
    case VR_US:
    case VR_SS:
        return 2;
    case VR_AT:
    case VR_UL:
    case VR_SL:
    case VR_FL:
        return 4;
    case VR_FD:
    case VR_SV:
    case VR_UV:
        return 8;
    default:
        return 1;
    }
}

/** Tells whether bytes can be a value of a VR, as far as that is beyond doubt. */
bool Can_Be(unsigned short vr, std::span<const unsigned char> value, std::int64_t size)
{
    using namespace std::string_view_literals;
    switch (vr) {
    case VR_IS:
        return Consists_Of(value, "0123456789+- \\\0"sv);
    case VR_DS:
        return Consists_Of(value, "0123456789+-.Ee \\\0"sv);
    case VR_UI:
        return Consists_Of(value, "0123456789. \\\0"sv);
    case VR_DA:
        return Consists_Of(value, "0123456789.-/ \\\0"sv);
    case VR_TM:
    case VR_DT:
        return Consists_Of(value, "0123456789.:+- \\\0"sv);
    default:
        return size % Width_Of(vr) == 0;
    }
}

}  // namespace

void Element_Reader::Note_Creator(Nesting_Level& list, const DICOM_List& record)
{
    if (record.element < First_Creator || record.element > Last_Creator || record.data == nullptr) {
        return;
    }
    std::string name = Trimmed(Bytes(record.data, record.data + record.size));
    if (name.empty()) {
        return;
    }
    if (list.creators == nullptr) {
        list.creators = std::make_unique<Creators>();
    }
    list.creators->names.emplace(Tag_Of(record), std::move(name));
    list.creators->asked = {};
}

void Element_Reader::Ask_Definition(DICOM_List& record)
{
    const Nesting_Level& list = Top();
    if (list.creators == nullptr || record.element < First_Private_Element) {
        return;
    }
    const Tag block = {record.group, static_cast<unsigned short>(record.element >> 8)};
    Creators& creators = *list.creators;
    if (creators.asked != block) {
        const auto creator = creators.names.find(block);
        creators.answer = creator != creators.names.end() ? &creator->second : nullptr;
        creators.asked = block;
    }
    if (creators.answer == nullptr) {
        return;
    }
    const unsigned short before = record.vr_default;
    if (DICOM_Module_Read_Private(nullptr, creators.answer->c_str(), &record) == 0 ||
        record.size < 0 || (record.vr != 0 && record.vr != VR_UN) || record.vr_default == before ||
        record.vr_default == VR_SQ) {
        return;
    }
    constexpr std::size_t Enough = 1024;
    const std::size_t size = std::min(static_cast<std::size_t>(record.size), Enough);
    if (!Can_Be(record.vr_default, window_.At(Value_Position_Of(record), size), Size_Of(record))) {
        record.vr = VR_UN;
        Report(Fault::Private_Definition, Level::Kept, record,
               "the value does not fit the VR of its private definition; it is taken as UN");
    }
}

}  // namespace lib_mend
