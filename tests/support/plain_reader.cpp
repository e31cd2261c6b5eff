#include "support/plain_reader.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdint>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string_view>

namespace {

class Reader {
public:
    Reader(const std::string& bytes, Plain_File& file) : bytes_(bytes), file_(file)
    {
    }

    void Run()
    {
        Require(bytes_.size() > 132 && bytes_.compare(128, 4, "DICM") == 0, 0, "no DICM");
        at_ = 132;
        while (at_ < bytes_.size() && Number(at_, 2) == 2) {
            Element("", 0);
        }
        const Plain_Element* const syntax = file_.Find("0002,0010");
        Require(syntax != nullptr, at_, "no transfer syntax");
        file_.syntax = syntax->value.c_str();
        const std::string_view uid = file_.syntax;
        file_.is_explicit = uid != "1.2.840.10008.1.2";
        file_.is_big = uid == "1.2.840.10008.1.2.2";
        file_.data_set = at_;
        List("", 0, bytes_.size(), false);
    }

private:
    void Require(bool holds, std::size_t at, const char* what) const
    {
        if (!holds) {
            throw std::runtime_error(std::string(what) + " at " + std::to_string(at));
        }
    }

    std::uint32_t Number(std::size_t at, std::size_t size, bool meta = false) const
    {
        Require(at + size <= bytes_.size(), at, "the file ends");
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t index = file_.is_big && !meta ? i : size - 1 - i;
            number = number << 8 | static_cast<unsigned char>(bytes_[at + index]);
        }
        return number;
    }

    static std::string Tag_Text(std::uint32_t tag)
    {
        char text[16];
        std::snprintf(text, sizeof text, "%04x,%04x", tag >> 16, tag & 0xFFFF);
        return text;
    }

    std::uint32_t Tag(std::size_t at) const
    {
        return Number(at, 2) << 16 | Number(at + 2, 2);
    }

    /** Elements up to a place, or to the item delimitation. */
    void List(const std::string& prefix, int depth, std::size_t end, bool delimited)
    {
        std::int64_t last = -1;
        while (at_ < end) {
            const std::uint32_t tag = Tag(at_);
            if (delimited && tag == 0xFFFEE00D) {
                Require(Number(at_ + 4, 4) == 0, at_, "length of a delimitation");
                at_ += 8;
                return;
            }
            Require(tag > last && tag >> 16 != 0xFFFE, at_, "tags do not ascend");
            last = tag;
            Element(prefix, depth);
        }
        Require(at_ == end && !delimited, at_, "contents do not end where they should");
    }

    void Element(const std::string& prefix, int depth)
    {
        Plain_Element element;
        element.start = at_;
        element.depth = depth;
        const std::uint32_t tag = Tag(at_);
        element.path = prefix + Tag_Text(tag);
        std::uint32_t length = 0;
        if (file_.is_explicit || file_.data_set == 0) {
            static const std::set<std::string> Long = {"OB", "OD", "OF", "OL", "OV", "OW", "SQ",
                                                       "SV", "UC", "UN", "UR", "UT", "UV"};
            static const std::set<std::string> Short = {"AE", "AS", "AT", "CS", "DA", "DS", "DT",
                                                        "FD", "FL", "IS", "LO", "LT", "PN", "SH",
                                                        "SL", "SS", "ST", "TM", "UI", "UL", "US"};
            element.vr = bytes_.substr(at_ + 4, 2);
            const bool is_long = Long.count(element.vr) != 0;
            Require(is_long || Short.count(element.vr) != 0, at_, "unknown VR");
            Require(!is_long || Number(at_ + 6, 2) == 0, at_, "reserved field in use");
            length = is_long ? Number(at_ + 8, 4) : Number(at_ + 6, 2);
            at_ += is_long ? 12 : 8;
        } else {
            length = Number(at_ + 4, 4);
            at_ += 8;
            const TAG_db_Elems* const entry = NEMA_db_Locate(static_cast<unsigned short>(tag >> 16),
                                                             static_cast<unsigned short>(tag));
            const bool looks_nested =
                length >= 8 && at_ + 8 <= bytes_.size() && Tag(at_) == 0xFFFEE000;
            const bool is_sequence = entry != nullptr ? entry->vr[0] == VR_SQ : looks_nested;
            element.vr = is_sequence || length == Undefined ? "SQ" : "";
        }
        element.value_start = at_;
        element.undefined_length = length == Undefined;
        const std::size_t index = file_.elements.size();
        file_.elements.push_back(element);
        if (element.vr == "SQ") {
            Items(element.path, depth, length);
        } else if (length == Undefined) {
            // Images in items, as icons are, may be encapsulated too (PS3.5 section A.4).
            Require(element.path.ends_with("7fe0,0010"), element.start, "undefined length");
            Fragments(element.path);
        } else {
            Require(length % 2 == 0, element.start, "odd length");
            Require(length <= bytes_.size() - at_, element.start, "value beyond the file");
            file_.elements[index].value = bytes_.substr(at_, length);
            at_ += length;
        }
        file_.elements[index].end = at_;
    }

    void Items(const std::string& path, int depth, std::uint32_t length)
    {
        Require(depth < 200, at_, "too deep for this reader");
        const std::size_t end = length == Undefined ? bytes_.size() : at_ + length;
        for (int item = 0; length == Undefined || at_ < end; ++item) {
            const std::uint32_t tag = Tag(at_);
            const std::uint32_t size = Number(at_ + 4, 4);
            if (length == Undefined && tag == 0xFFFEE0DD) {
                Require(size == 0, at_, "length of a delimitation");
                at_ += 8;
                return;
            }
            Require(tag == 0xFFFEE000, at_, "no item");
            at_ += 8;
            List(path + "[" + std::to_string(item) + "]/", depth + 1,
                 size == Undefined ? end : at_ + size, size == Undefined);
        }
        Require(at_ == end, at_, "items run past their sequence");
    }

    void Fragments(const std::string& path)
    {
        for (int item = 0;; ++item) {
            Plain_Element fragment;
            fragment.start = at_;
            const std::uint32_t tag = Tag(at_);
            const std::uint32_t size = Number(at_ + 4, 4);
            at_ += 8;
            if (tag == 0xFFFEE0DD) {
                return;
            }
            Require(tag == 0xFFFEE000 && size % 2 == 0 && size <= bytes_.size() - at_, at_ - 8,
                    "no fragment");
            fragment.path = path + "[" + std::to_string(item) + "]";
            fragment.value_start = at_;
            fragment.value = bytes_.substr(at_, size);
            at_ += size;
            fragment.end = at_;
            fragment.depth = 1;
            file_.elements.push_back(fragment);
        }
    }

    static constexpr std::uint32_t Undefined = 0xFFFFFFFFU;

    const std::string& bytes_;
    Plain_File& file_;
    std::size_t at_ = 0;
};

}  // namespace

std::map<std::string, std::string> Plain_File::Values() const
{
    std::map<std::string, std::string> values;
    for (const Plain_Element& element : elements) {
        const bool has_value = element.vr != "SQ" && !element.undefined_length;
        if (has_value && element.path.compare(0, 4, "0002") != 0) {
            values[element.path] = element.value;
        }
    }
    return values;
}

const Plain_Element* Plain_File::Find(const std::string& path) const
{
    for (const Plain_Element& element : elements) {
        if (element.path == path) {
            return &element;
        }
    }
    return nullptr;
}

Plain_File Read_Plain(const std::string& bytes)
{
    Plain_File file;
    try {
        Reader(bytes, file).Run();
    } catch (const std::exception& error) {
        file.error = error.what();
    }
    return file;
}
