/**
 * @file add.h
 * A typed front of DICOM_Attribute_Add for C++: the same values through the same builders, without
 * variable arguments. Texts need not be NUL-terminated. Each function returns the head of the list;
 * it is the caller's C++ code, so that it may throw std::bad_alloc where a text has to be copied.
 *
 *     DICOM_Builder builder(handle, &root, &list);
 *     builder.Text<VR_PN>(0x0010, 0x0010, "Doe^Jane");
 *     builder.Shorts<VR_US>(0x0028, 0x0010, rows);
 *
 * The VR is a template argument, so that the compiler refuses values that it does not take.
 */
#ifndef LIB_DICOM_ADD_H
#define LIB_DICOM_ADD_H

#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/values.h>

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/** Tells whether a VR is one of several. */
template <class... VRs>
constexpr bool DICOM_Is_Any_VR(unsigned short vr, VRs... allowed)
{
    return ((vr == allowed) || ...);
}

/** Adds attributes to one list; the context says in which item. */
class DICOM_Builder {
public:
    DICOM_Builder(HWND handle, DICOM_Root* root, DICOM_List** list)
        : handle_(handle), root_(root), list_(list)
    {
    }

    /** An attribute without a value. */
    DICOM_List* Empty(unsigned short group, unsigned short element, unsigned short vr) const
    {
        return DICOM_Attribute_Add(handle_, root_, list_, group, element, vr, 0);
    }
    /** One text: AE, AS, CS, LO, LT, PN, SH, ST, UC, UI, UR, UT. */
    template <unsigned short vr>
    DICOM_List* Text(unsigned short group, unsigned short element, std::string_view text) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_AE, VR_AS, VR_CS, VR_LO, VR_LT, VR_PN, VR_SH, VR_ST,
                                      VR_UC, VR_UI, VR_UR, VR_UT),
                      "the VR takes other values");
        return DICOM_Attribute_Add(handle_, root_, list_, group, element, vr, 1,
                                   std::string(text).c_str());
    }
    /** Several texts with backslashes between them, also for UI. */
    template <unsigned short vr>
    DICOM_List* Texts(unsigned short group, unsigned short element,
                      std::span<const std::string_view> texts) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_AE, VR_CS, VR_LO, VR_PN, VR_SH, VR_UC, VR_UI),
                      "the VR takes other values");
        if (texts.empty()) {
            return Empty(group, element, vr);
        }
        std::string joined(texts.front());
        for (const std::string_view text : texts.subspan(1)) {
            joined.append("\\").append(text);
        }
        return Text<vr>(group, element, joined);
    }
    template <unsigned short vr>
    DICOM_List* Texts(unsigned short group, unsigned short element,
                      std::initializer_list<std::string_view> texts) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_AE, VR_CS, VR_LO, VR_PN, VR_SH, VR_UC, VR_UI),
                      "the VR takes other values");
        return Texts<vr>(group, element, std::span(texts.begin(), texts.size()));
    }
    /** IS, SL, UL, OL. */
    template <unsigned short vr>
    DICOM_List* Ints(unsigned short group, unsigned short element,
                     std::span<const int> values) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_IS, VR_SL, VR_UL, VR_OL), "the VR takes other values");
        return Array(group, element, vr, values);
    }
    /** US, OW. */
    template <unsigned short vr>
    DICOM_List* Shorts(unsigned short group, unsigned short element,
                       std::span<const unsigned short> values) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_US, VR_OW), "the VR takes other values");
        return Array(group, element, vr, values);
    }
    template <unsigned short vr>
    DICOM_List* Shorts(unsigned short group, unsigned short element,
                       std::span<const short> values) const
    {
        static_assert(vr == VR_SS, "the VR takes other values");
        return Array(group, element, vr, values);
    }
    /** OV, SV, UV. */
    template <unsigned short vr>
    DICOM_List* Longs(unsigned short group, unsigned short element,
                      std::span<const std::int64_t> values) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_OV, VR_SV, VR_UV), "the VR takes other values");
        return Array(group, element, vr, values);
    }
    /** DS, FL, OF. */
    template <unsigned short vr>
    DICOM_List* Floats(unsigned short group, unsigned short element,
                       std::span<const float> values) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_DS, VR_FL, VR_OF), "the VR takes other values");
        return Array(group, element, vr, values);
    }
    /** FD, OD. */
    template <unsigned short vr>
    DICOM_List* Doubles(unsigned short group, unsigned short element,
                        std::span<const double> values) const
    {
        static_assert(DICOM_Is_Any_VR(vr, VR_FD, VR_OD), "the VR takes other values");
        return Array(group, element, vr, values);
    }
    /** OB. */
    DICOM_List* Bytes(unsigned short group, unsigned short element,
                      std::span<const unsigned char> values) const
    {
        return Array(group, element, VR_OB, values);
    }
    /** AT, one tag. */
    DICOM_List* Tag(unsigned short group, unsigned short element, unsigned short value_group,
                    unsigned short value_element) const
    {
        return DICOM_Attribute_Add(handle_, root_, list_, group, element, VR_AT, 2, value_group,
                                   value_element);
    }
    /** PN. */
    DICOM_List* Names(unsigned short group, unsigned short element,
                      std::span<const OrisWare_Name> names) const
    {
        std::vector<std::string> texts;
        for (const OrisWare_Name& name : names) {
            const char* const text = Name_2_DICOM(&name);
            texts.emplace_back(text != nullptr ? text : "");
        }
        return Texts<VR_PN>(group, element,
                            std::vector<std::string_view>(texts.begin(), texts.end()));
    }
    /** DA. */
    DICOM_List* Dates(unsigned short group, unsigned short element,
                      std::span<const OrisWare_Date> dates) const
    {
        return Array(group, element, VR_DA, dates);
    }
    /** TM. */
    DICOM_List* Times(unsigned short group, unsigned short element,
                      std::span<const OrisWare_Time> times) const
    {
        return Array(group, element, VR_TM, times);
    }
    /** DT, one value. */
    DICOM_List* Date_Time(unsigned short group, unsigned short element, const OrisWare_Date& date,
                          const OrisWare_Time& time) const
    {
        return DICOM_Attribute_Add(handle_, root_, list_, group, element, VR_DT, 1, &date, &time);
    }
    /** Opens a sequence and its first item; what is added next goes into it. */
    void Open_Sequence(unsigned short group, unsigned short element) const
    {
        DICOM_Attribute_Add(handle_, root_, list_, group, element, VR_SQ, 0);
        DICOM_Attribute_Sequence_Start(handle_, root_, group, element, 0, 0);
        DICOM_Attribute_Item_Start(handle_, root_, 0);
    }
    /** Goes on with the next item. */
    void Next_Item() const
    {
        DICOM_Attribute_Item_Stop(handle_, root_, 0);
        DICOM_Attribute_Item_Start(handle_, root_, 0);
    }
    void Close_Sequence() const
    {
        DICOM_Attribute_Item_Stop(handle_, root_, 0);
        DICOM_Attribute_Sequence_Stop(handle_, root_, 0);
    }

private:
    template <class Value>
    DICOM_List* Array(unsigned short group, unsigned short element, unsigned short vr,
                      std::span<const Value> values) const
    {
        return DICOM_Attribute_Add(handle_, root_, list_, group, element, vr,
                                   -static_cast<int>(values.size()), values.data());
    }

    HWND handle_;
    DICOM_Root* root_;
    DICOM_List** list_;
};

#endif
