// Writes the values of single elements as JSON.
#ifndef LIB_MEND_VALUE_WRITER_H
#define LIB_MEND_VALUE_WRITER_H

#include "mend/healing/character_set.h"
#include "mend/json/text_writer.h"
#include "mend/json/value_forms.h"
#include "mend/writing/output.h"

#include <optional>

namespace lib_mend {

/** An element on its way into JSON. */
struct JSON_Element {
    const DICOM_List& record;
    /** The way to the list around it. */
    const Path& path;
    const Character_Set& characters;
    /** One of the VRs that have a form. */
    unsigned short vr;
};

class Value_Writer {
public:
    Value_Writer(const Data_Set& set, const JSON_Options& options, Findings& findings,
                 Text_Writer& out)
        : set_(set), options_(options), findings_(findings), out_(out)
    {
    }

    /** Everything behind the VR but for sequences: a value in one of the forms, or nothing. */
    void Write(const JSON_Element& element);
    /** False when a value could not be read. */
    bool Could_Read() const
    {
        return could_read_;
    }

private:
    enum class Key { Value, Inline, Reference };

    void Begin(Key key);
    void Write_Binary(const JSON_Element& element);
    void Write_Inline(const JSON_Element& element, const Encoded_File& bytes);
    void Write_Numbers(const JSON_Element& element, const JSON_Form& form);
    void Write_Texts(const JSON_Element& element, const JSON_Form& form);
    void Write_Text(const JSON_Form& form, std::string_view text);
    void Write_Name(std::string_view name);
    void Keep_Bytes(const JSON_Element& element, Fault fault, const char* why);
    std::optional<Extent> Place_Of(const JSON_Element& element) const;
    void Report_Unread(const JSON_Element& element);

    const Data_Set& set_;
    const JSON_Options& options_;
    Findings& findings_;
    Text_Writer& out_;
    bool could_read_ = true;
};

}  // namespace lib_mend

#endif
