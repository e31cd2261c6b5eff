#include "mend/json/value_writer.h"

#include "mend/healing/character_terms.h"
#include "mend/json/base64.h"
#include "mend/json/bulk_value.h"
#include "mend/json/number_texts.h"
#include "mend/reading/tree.h"
#include "mend/writing/encoder.h"

#include <algorithm>

namespace lib_mend {

namespace {

/** Padding at the end of a value says nothing. */
std::string_view Without_Padding(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    return text.substr(0, text.find_last_not_of(Padding) + 1);
}

/** Calls `visit` for each part between separators of a text in UTF-8. */
template <class Visit>
void For_Each_Part(std::string_view text, char separator, Visit&& visit)
{
    while (true) {
        const std::size_t end = std::min(text.find(separator), text.size());
        visit(text.substr(0, end));
        if (end == text.size()) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

/** A NaN of other bits than the usual one would not come back. */
bool Has_Special_NaN(const Encoded_File& bytes, int width)
{
    bool has = false;
    bytes.Give([&](std::span<const unsigned char> piece) {
        for (std::size_t at = 0; at < piece.size() && !has; at += static_cast<std::size_t>(width)) {
            has = Is_Special_NaN(piece.subspan(at, static_cast<std::size_t>(width)));
        }
        return !has;
    });
    return has;
}

}  // namespace

void Value_Writer::Begin(Key key)
{
    constexpr const char* Keys[] = {"\"Value\":", "\"InlineBinary\":", "\"BulkDataURI\":"};
    out_.Put(",");
    out_.Blank();
    out_.Put(Keys[static_cast<int>(key)]);
    out_.Blank();
}

void Value_Writer::Report_Unread(const JSON_Element& element)
{
    if (could_read_) {
        findings_.Report(Fault::Unreadable, Level::Error, At(element.record, element.path),
                         "the value cannot be read");
    }
    could_read_ = false;
}

void Value_Writer::Write_Inline(const JSON_Element& element, const Encoded_File& bytes)
{
    Begin(Key::Inline);
    out_.Put("\"");
    Base64_Encoder encoder;
    std::string letters;
    const bool is_read = bytes.Give([&](std::span<const unsigned char> piece) {
        constexpr std::size_t Block = 49152;
        for (; !piece.empty(); piece = piece.subspan(std::min(Block, piece.size()))) {
            letters.clear();
            encoder.Put(piece.first(std::min(Block, piece.size())), letters);
            out_.Put(letters);
        }
        return out_.Is_Taken();
    });
    letters.clear();
    encoder.Finish(letters);
    out_.Put(letters);
    out_.Put("\"");
    if (!is_read && out_.Is_Taken()) {
        Report_Unread(element);
    }
}

void Value_Writer::Write_Binary(const JSON_Element& element)
{
    const DICOM_List& record = element.record;
    const bool has_fragments = Holds_Fragments(record);
    const Encoded_File bytes = has_fragments ? Fragment_Stream(set_, record)
                                             : Little_Endian_Value(set_, record, element.vr);
    const std::optional<Extent> place = bytes.Size() > options_.inline_limit
                                            ? Place_In_Source(set_, record, element.vr)
                                            : std::nullopt;
    if (place) {
        Begin(Key::Reference);
        out_.Put_String(options_.bulk_base + "?offset=" + std::to_string(place->offset) +
                        "&length=" + std::to_string(place->size));
    } else {
        Write_Inline(element, bytes);
    }
}

void Value_Writer::Keep_Bytes(const JSON_Element& element, Fault fault, const char* why)
{
    findings_.Report(fault, Level::Kept, At(element.record, element.path),
                     std::string(why) + "; the JSON holds its bytes");
    Write_Inline(element, Little_Endian_Value(set_, element.record, element.vr));
}

void Value_Writer::Write_Numbers(const JSON_Element& element, const JSON_Form& form)
{
    const Encoded_File bytes = Little_Endian_Value(set_, element.record, element.vr);
    if (Size_Of(element.record) % form.width != 0) {
        Keep_Bytes(element, Fault::Size, "the value is no whole number of this VR");
        return;
    }
    if (form.kind == JSON_Kind::Floats && Has_Special_NaN(bytes, form.width)) {
        Keep_Bytes(element, Fault::JSON, "JSON holds no NaN with these bits");
        return;
    }
    Begin(Key::Value);
    const char* separator = "[";
    const bool is_read = bytes.Give([&](std::span<const unsigned char> piece) {
        const auto width = static_cast<std::size_t>(form.width);
        for (; piece.size() >= width; piece = piece.subspan(width)) {
            out_.Put(separator);
            out_.Put(JSON_Number(form, piece.first(width)));
            separator = ",";
        }
        return out_.Is_Taken();
    });
    out_.Put(*separator == '[' ? "[]" : "]");
    if (!is_read && out_.Is_Taken()) {
        Report_Unread(element);
    }
}

void Value_Writer::Write_Name(std::string_view name)
{
    out_.Put("{");
    std::size_t group = 0;
    const char* separator = "";
    while (true) {
        // A fourth group is none; it stays with the third.
        const std::size_t end = group + 1 < std::size(Name_Groups)
                                    ? std::min(name.find('='), name.size())
                                    : name.size();
        const bool is_last = end == name.size();
        // An empty group is there only to tell that a separator is.
        if (end > 0 || is_last) {
            out_.Put(separator);
            out_.Put_String(Name_Groups[group]);
            out_.Put(":");
            out_.Blank();
            out_.Put_String(name.substr(0, end));
            separator = ",";
        }
        if (is_last) {
            break;
        }
        name.remove_prefix(end + 1);
        ++group;
    }
    out_.Put("}");
}

void Value_Writer::Write_Text(const JSON_Form& form, std::string_view text)
{
    if (text.empty()) {
        out_.Put("null");
    } else if (form.kind == JSON_Kind::Names) {
        Write_Name(text);
    } else if (form.kind == JSON_Kind::Number_Texts && Is_Exact_JSON_Number(text, form.vr)) {
        out_.Put(text);
    } else {
        out_.Put_String(text);
    }
}

void Value_Writer::Write_Texts(const JSON_Element& element, const JSON_Form& form)
{
    const Bytes bytes = set_.Value(element.record);
    if (std::ssize(bytes) != Size_Of(element.record)) {
        Report_Unread(element);
    }
    const std::string_view text =
        Without_Padding({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (text.empty()) {
        return;
    }
    const bool is_declaration = Tag_Of(element.record) == Character_Set_Tag;
    const std::optional<std::string> converted =
        is_declaration ? std::string(UTF_8_Term)
                       : element.characters.To_UTF_8_Without_Loss(text, element.vr);
    if (!converted) {
        Keep_Bytes(element, Fault::Character_Set_Bytes,
                   "the text does not convert to UTF-8 without loss");
        return;
    }
    Begin(Key::Value);
    out_.Put("[");
    if (form.kind == JSON_Kind::Text) {
        Write_Text(form, *converted);
    } else {
        bool is_first = true;
        For_Each_Part(*converted, '\\', [&](std::string_view part) {
            out_.Put(is_first ? "" : ",");
            Write_Text(form, part);
            is_first = false;
        });
    }
    out_.Put("]");
}

void Value_Writer::Write(const JSON_Element& element)
{
    const JSON_Form& form = *Find_JSON_Form(element.vr);
    if (element.record.size == 0) {
        return;
    }
    switch (form.kind) {
    case JSON_Kind::Items:
        break;
    case JSON_Kind::Binary:
        Write_Binary(element);
        break;
    case JSON_Kind::Tags:
    case JSON_Kind::Integers:
    case JSON_Kind::Floats:
        Write_Numbers(element, form);
        break;
    case JSON_Kind::Text:
    case JSON_Kind::Texts:
    case JSON_Kind::Number_Texts:
    case JSON_Kind::Names:
        Write_Texts(element, form);
        break;
    }
}

}  // namespace lib_mend
