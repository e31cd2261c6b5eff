#include "mend/json/value_reader.h"

#include "mend/json/number_texts.h"

#include <utility>

namespace lib_mend {

namespace {

using Entry = JSON_Values::Entry;
using Kind = JSON_Values::Kind;

std::string VR_Text(const JSON_Form& form)
{
    return {static_cast<char>(form.vr >> 8), static_cast<char>(form.vr & 0xFF)};
}

/** Texts, one after the other with separators; an error ends the work. */
class Text_Reader {
public:
    Text_Reader(const JSON_Form& form, Bytes& out) : form_(form), out_(out)
    {
    }

    bool Take(const Entry& entry, bool is_first)
    {
        if (!is_first && form_.kind == JSON_Kind::Text) {
            problem_ = {entry.at, "VR=" + VR_Text(form_) + " has one value"};
            return false;
        }
        if (!Fits(entry)) {
            return false;
        }
        if (!is_first) {
            out_.push_back('\\');
        }
        out_.insert(out_.end(), entry.text.begin(), entry.text.end());
        return true;
    }
    JSON_Problem Problem() &&
    {
        return std::move(problem_);
    }

private:
    bool Fits(const Entry& entry)
    {
        const bool is_name = form_.kind == JSON_Kind::Names;
        switch (entry.kind) {
        case Kind::Null:
        case Kind::Empty_Object:
            return entry.kind == Kind::Null || is_name || Refuse(entry);
        case Kind::Name:
            if (!is_name) {
                return Refuse(entry);
            }
            break;
        case Kind::String:
            // A name without groups is what some programs write.
            if (is_name) {
                Note(entry, Level::Change,
                     "a name is an object with groups; the string is taken as one");
            }
            break;
        case Kind::Number:
            if (form_.kind != JSON_Kind::Number_Texts) {
                Note(entry, Level::Change,
                     "a number stands where VR=" + VR_Text(form_) + " has a string");
            }
            break;
        case Kind::Boolean:
        case Kind::Item:
            return Refuse(entry);
        }
        if (form_.kind != JSON_Kind::Text && entry.text.find('\\') != std::string_view::npos) {
            Note(entry, Level::Kept, "a value holds a backslash, which separates values");
        }
        return true;
    }
    bool Refuse(const Entry& entry)
    {
        problem_ = {entry.at, "is no value of VR=" + VR_Text(form_)};
        return false;
    }
    void Note(const Entry& entry, Level level, std::string what)
    {
        if (problem_.what.empty()) {
            problem_ = {entry.at, std::move(what), level};
        }
    }

    const JSON_Form& form_;
    Bytes& out_;
    JSON_Problem problem_;
};

JSON_Problem Read_Texts(const JSON_Values& values, const JSON_Form& form, Bytes& out)
{
    Text_Reader reader(form, out);
    for (std::size_t i = 0; i < values.Count() && reader.Take(values[i], i == 0); ++i) {
    }
    return std::move(reader).Problem();
}

JSON_Problem Read_Numbers(const JSON_Values& values, const JSON_Form& form, Bytes& out)
{
    if (values.Count() == 1 && values[0].kind == Kind::Null) {
        return {};
    }
    for (std::size_t i = 0; i < values.Count(); ++i) {
        const Entry entry = values[i];
        const bool is_text = entry.kind == Kind::Number || entry.kind == Kind::String;
        if (!is_text || !Append_Number(form, entry.text, entry.kind == Kind::String, out)) {
            return {entry.at, "is no value of VR=" + VR_Text(form)};
        }
    }
    return {};
}

}  // namespace

void JSON_Values::Add(Kind kind, std::string_view text, std::size_t at)
{
    texts_ += text;
    entries_.push_back(
        {static_cast<std::uint32_t>(at), static_cast<std::uint32_t>(texts_.size()), kind});
}

Entry JSON_Values::operator[](std::size_t index) const
{
    const Place& place = entries_[index];
    const std::size_t begin = index == 0 ? 0 : entries_[index - 1].text_end;
    return {place.at, place.kind, std::string_view(texts_).substr(begin, place.text_end - begin)};
}

void JSON_Values::Clear()
{
    entries_ = {};
    texts_ = {};
}

JSON_Problem Read_JSON_Values(const JSON_Values& values, const JSON_Form& form, Bytes& out)
{
    switch (form.kind) {
    case JSON_Kind::Text:
    case JSON_Kind::Texts:
    case JSON_Kind::Number_Texts:
    case JSON_Kind::Names:
        return Read_Texts(values, form, out);
    case JSON_Kind::Tags:
    case JSON_Kind::Integers:
    case JSON_Kind::Floats:
        return Read_Numbers(values, form, out);
    case JSON_Kind::Binary:
    case JSON_Kind::Items:
        break;
    }
    // An empty array is an empty value of any VR.
    if (values.Count() != 0) {
        return {values[0].at, "VR=" + VR_Text(form) + " has InlineBinary and no Value"};
    }
    return {};
}

}  // namespace lib_mend
