// Builds a data set from what is in a text of JSON.
//
//     [{"00100010": {"vr": "PN", "Value": [{"Alphabetic": "A"}]}}]      in an array or alone
//      |             |                    |
//      data set      element              items, names, or values
//
// Names may come in any order, the VR behind the values that it says how to read: they are kept until
// the element ends.
#ifndef LIB_MEND_SET_BUILDER_H
#define LIB_MEND_SET_BUILDER_H

#include "mend/io/spool.h"
#include "mend/json/bulk_value.h"
#include "mend/json/from_json.h"
#include "mend/json/json_events.h"
#include "mend/json/value_reader.h"

#include <array>
#include <deque>
#include <span>
#include <string>
#include <vector>

namespace lib_mend {

class Set_Builder : public JSON_Events {
public:
    Set_Builder(const Source& text, Findings& findings, const Bulk_Reader& bulk)
        : places_(text), name_(text.Name()), findings_(findings), bulk_(bulk)
    {
    }

    void Scalar(JSON_Scalar kind, std::string_view text, std::size_t at) override;
    void Key(std::string_view name, std::size_t at) override;
    bool Takes_Bytes() const override;
    void Put_Bytes(std::span<const unsigned char> bytes) override;
    void End_Bytes(std::size_t at) override;
    void Begin_Object(std::size_t at) override;
    void End_Object() override;
    void Begin_Array(std::size_t at) override;
    void End_Array() override;

    /** Gives what was built to a data set. */
    void Finish(Data_Set& set);

private:
    /** What the value of a name of an element is. */
    enum class Name { None, VR, Value, Inline, Reference, Other };

    struct Element {
        Tag tag = {};
        std::size_t at = 0;
        Name name = Name::None;
        /** Names that were there, a bit each. */
        unsigned int seen = 0;
        /** It was said that the element cannot be read. */
        bool is_faulty = false;
        std::string vr = {};
        JSON_Values values = {};
        /** The items among the values. */
        std::vector<Record_List> items = {};
        Bytes bytes = {};
        /** A long value stands in the spool instead. */
        Value_Part stored = {};
        std::string reference = {};
        std::size_t value_at = 0;
    };

    /** A data set, an item, or a name with its groups; which of them is known at its end. */
    struct Object {
        std::size_t at = 0;
        Record_List records = {};
        DICOM_List* tail = nullptr;
        bool is_sorted = true;
        std::array<std::string, std::size(Name_Groups)> groups = {};
        /** Number of the group whose value comes, and of the last one that was there. */
        std::size_t group = 0;
        std::size_t group_count = 0;
        unsigned int groups_seen = 0;
        /** What is wrong with the groups. */
        JSON_Fault fault = {};
        bool is_in_element = false;
        bool is_in_values = false;
        Element element = {};
    };

    void Report(Level level, std::size_t at, const std::string& what);
    void Report_Element(Level level, Tag tag, std::size_t at, const std::string& what);
    void Refuse_Element(std::size_t at, const std::string& what);
    void Skip()
    {
        skipped_levels_ = 1;
    }

    void Take_Group(Object& object, JSON_Scalar kind, std::string_view text, std::size_t at);
    void Set_Key(Object& object, std::string_view name, std::size_t at);
    void Element_Key(Element& element, std::string_view name, std::size_t at);
    void Element_Scalar(Element& element, JSON_Scalar kind, std::string_view text, std::size_t at);
    void End_Element(Object& object);
    void End_Value_Object(Object& inner);

    const JSON_Form* Form_Of(const Element& element);
    DICOM_List* Make_Sequence(Element& element);
    DICOM_List* Make_Value(Element& element, const JSON_Form& form);
    DICOM_List* Make_Binary(Element& element, const JSON_Form& form);
    DICOM_List* Make_Fragments(const Element& element, const std::vector<Value_Part>& fragments);
    DICOM_List* Make_Stored(const Element& element, const JSON_Form& form);
    void Append(Object& object, DICOM_List* record);
    void Sort(Object& object);
    void Declare_UTF_8(Data_Set& set);

    Text_Places places_;
    std::string name_;
    Findings& findings_;
    const Bulk_Reader& bulk_;
    /** They stay where they are: growing would hold them twice. */
    std::deque<Object> objects_;
    /** What becomes the source of the data set. */
    Spool spool_{Source::Small_File};
    Path way_;
    /** Arrays and objects that nothing is taken from, one in another. */
    std::size_t skipped_levels_ = 0;
    /** Of the whole text: an empty item is three letters, and takes the memory of a record. */
    std::size_t empty_items_ = 0;
    bool is_array_ = false;
    bool has_set_ = false;
    bool has_set_twice_ = false;
    bool has_group_lengths_ = false;
    /** A text has letters that are none of the default repertoire. */
    bool has_letters_ = false;
    Object done_;
};

}  // namespace lib_mend

#endif
