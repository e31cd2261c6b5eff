/**
 * @file element.hpp
 * Elements, items and sequences of the C++ interface; see dataset.hpp.
 *
 * They refer into their data set: they are valid until it is changed, moved or gone. An empty element
 * stands for what is not there; asking it for anything gives nothing, 0 or "".
 */
#ifndef LIB_DICOM_MEND_ELEMENT_HPP
#define LIB_DICOM_MEND_ELEMENT_HPP

#include <Lib_DICOM_Mend/basics.hpp>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace dicom_mend {

class Items;

/** An element of a data set; an empty one stands for what is not there. */
class Element {
public:
    Element() = default;
    /** From handles of the C interface, which stay their owner's. */
    Element(const dicom_mend_dataset* data_set, const dicom_mend_element* element)
        : data_set_(data_set), element_(element)
    {
    }

    /** False for what is not there. */
    explicit operator bool() const
    {
        return element_ != nullptr;
    }
    /** Its tag; (0000,0000) for an empty one. */
    Tag tag() const
    {
        return Tag::of(dicom_mend_tag(element_));
    }
    /** Two letters; "" when there is none, as fragments have. */
    std::string vr() const
    {
        char vr[3];
        dicom_mend_vr(element_, vr);
        return vr;
    }
    /** "Patient's Name", "Unknown Element" and the like for those that nobody knows. */
    std::string name() const
    {
        const std::uint32_t number = dicom_mend_tag(element_);
        return detail::text_of([number](char* buffer, std::size_t capacity) {
            return dicom_mend_tag_name(number, buffer, capacity);
        });
    }
    /** "PatientName"; "" for private and unknown tags. */
    std::string keyword() const
    {
        const std::uint32_t number = dicom_mend_tag(element_);
        return detail::text_of([number](char* buffer, std::size_t capacity) {
            return dicom_mend_tag_keyword(number, buffer, capacity);
        });
    }
    /** Length of the value in bytes; 0 for sequences. */
    std::size_t length() const
    {
        return dicom_mend_length(element_);
    }
    /** Place of the tag in the file, in bytes; 0 for elements that were added. */
    std::int64_t offset() const
    {
        return dicom_mend_offset(element_);
    }
    /** The value identifies nobody: it is empty, a number, a term of the standard. */
    bool is_harmless() const
    {
        return dicom_mend_is_harmless(data_set_, element_) != 0;
    }
    /** Number of values: of texts between backslashes, of numbers by their width; 0 without a value. */
    std::size_t count() const
    {
        return dicom_mend_value_count(data_set_, element_);
    }
    /**
     * A value in UTF-8 without padding, numbers and tags in their usual notation.
     *
     * @param index  from 0; nothing behind the last
     */
    std::optional<std::string> text(std::size_t index = 0) const
    {
        std::size_t length = 0;
        dicom_mend_status status =
            dicom_mend_get_text(data_set_, element_, index, nullptr, 0, &length);
        if (status != DICOM_MEND_OK) {
            return std::nullopt;
        }
        std::string text(length, '\0');
        status = dicom_mend_get_text(data_set_, element_, index, text.data(), length + 1, nullptr);
        return status == DICOM_MEND_OK ? std::optional(std::move(text)) : std::nullopt;
    }
    /** All values as texts. */
    std::vector<std::string> texts() const
    {
        return all<std::string>([this](std::size_t i) { return text(i); });
    }
    /** A value as a number; nothing when it is none. */
    std::optional<double> number(std::size_t index = 0) const
    {
        double value = 0;
        return dicom_mend_get_double(data_set_, element_, index, &value) == DICOM_MEND_OK
                   ? std::optional(value)
                   : std::nullopt;
    }
    /** All values that are numbers. */
    std::vector<double> numbers() const
    {
        return all<double>([this](std::size_t i) { return number(i); });
    }
    /** A value as a whole number; nothing when it is none, or does not fit. */
    std::optional<std::int64_t> integer(std::size_t index = 0) const
    {
        std::int64_t value = 0;
        return dicom_mend_get_int(data_set_, element_, index, &value) == DICOM_MEND_OK
                   ? std::optional(value)
                   : std::nullopt;
    }
    /** All values that are whole numbers and fit. */
    std::vector<std::int64_t> integers() const
    {
        return all<std::int64_t>([this](std::size_t i) { return integer(i); });
    }
    /**
     * Bytes of the value, numbers in little endian. Throws Error when the file that holds them cannot be
     * read any more.
     *
     * @param offset  from the start of the value
     * @param size    how many at the most
     */
    std::vector<unsigned char> bytes(std::size_t offset = 0, std::size_t size = SIZE_MAX) const
    {
        const std::size_t whole = length();
        const std::size_t start = offset < whole ? offset : whole;
        std::vector<unsigned char> bytes(size < whole - start ? size : whole - start);
        std::size_t copied = 0;
        detail::check(
            dicom_mend_get_bytes(data_set_, element_, start, bytes.data(), bytes.size(), &copied));
        bytes.resize(copied);
        return bytes;
    }
    /** True for an element that holds items. */
    bool is_sequence() const
    {
        return dicom_mend_is_sequence(element_) != 0;
    }
    /** Its items; none of an element that is no sequence. */
    Items items() const;
    /** Number of fragments of encapsulated pixel data (PS3.5 A.4), the offset table among them. */
    std::size_t fragment_count() const
    {
        return dicom_mend_fragment_count(element_);
    }
    /** One of them, the offset table first; an empty element behind the last. */
    Element fragment(std::size_t index) const
    {
        return {data_set_, dicom_mend_get_fragment(element_, index)};
    }
    /** For the C interface; null for an empty element. */
    const dicom_mend_element* handle() const
    {
        return element_;
    }

private:
    template <class Value, class Get>
    std::vector<Value> all(Get&& get) const
    {
        std::vector<Value> values;
        const std::size_t number_of_values = count();
        for (std::size_t i = 0; i < number_of_values; ++i) {
            if (auto value = get(i)) {
                values.push_back(*std::move(value));
            }
        }
        return values;
    }

    const dicom_mend_dataset* data_set_ = nullptr;
    const dicom_mend_element* element_ = nullptr;
};

/** Goes through the elements of a list; input iterator, since elements are made on the way. */
class Element_Iterator {
public:
    using value_type = Element;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;
    using reference = Element;
    using pointer = void;

    Element_Iterator() = default;
    Element_Iterator(const dicom_mend_dataset* data_set, const dicom_mend_element* element)
        : data_set_(data_set), element_(element)
    {
    }
    Element operator*() const
    {
        return {data_set_, element_};
    }
    Element_Iterator& operator++()
    {
        element_ = dicom_mend_next(element_);
        return *this;
    }
    Element_Iterator operator++(int)
    {
        Element_Iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Element_Iterator& other) const
    {
        return element_ == other.element_;
    }

private:
    const dicom_mend_dataset* data_set_ = nullptr;
    const dicom_mend_element* element_ = nullptr;
};

/** A list of elements: an item of a sequence, or the top level of a data set. */
class Item {
public:
    Item() = default;
    /** From handles of the C interface; null is the top level. */
    Item(const dicom_mend_dataset* data_set, const dicom_mend_item* item)
        : data_set_(data_set), item_(item)
    {
    }

    /** The elements in the order of the file. */
    Element_Iterator begin() const
    {
        return {data_set_, dicom_mend_first(data_set_, item_)};
    }
    Element_Iterator end() const
    {
        return {data_set_, nullptr};
    }
    /** The first element with a tag; an empty element when there is none. */
    Element find(Tag tag) const
    {
        return {data_set_, dicom_mend_find(data_set_, item_, tag.number())};
    }
    /** By keyword or tag; an empty element when it is not there, or no attribute is called that. */
    Element operator[](const std::string& name) const
    {
        const std::optional<Tag> tag = parse_tag(name);
        return tag ? find(*tag) : Element();
    }
    /** For the C interface; null for the top level. */
    const dicom_mend_item* handle() const
    {
        return item_;
    }

private:
    const dicom_mend_dataset* data_set_ = nullptr;
    const dicom_mend_item* item_ = nullptr;
};

/** The items of a sequence. */
class Items {
public:
    class Iterator {
    public:
        using value_type = Item;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::input_iterator_tag;
        using reference = Item;
        using pointer = void;

        Iterator() = default;
        Iterator(const Items* items, std::size_t index) : items_(items), index_(index)
        {
        }
        Item operator*() const
        {
            return (*items_)[index_];
        }
        Iterator& operator++()
        {
            ++index_;
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator& other) const
        {
            return index_ == other.index_;
        }

    private:
        const Items* items_ = nullptr;
        std::size_t index_ = 0;
    };

    /** From handles of the C interface. */
    Items(const dicom_mend_dataset* data_set, const dicom_mend_element* sequence)
        : data_set_(data_set), sequence_(sequence), size_(dicom_mend_item_count(sequence))
    {
    }

    /** Number of items. */
    std::size_t size() const
    {
        return size_;
    }
    /** An item, counted from 0. Throws Error behind the last. */
    Item operator[](std::size_t index) const
    {
        const dicom_mend_item* const item = dicom_mend_get_item(sequence_, index);
        detail::check(item != nullptr ? DICOM_MEND_OK : DICOM_MEND_NOT_FOUND);
        return {data_set_, item};
    }
    Iterator begin() const
    {
        return {this, 0};
    }
    Iterator end() const
    {
        return {this, size_};
    }

private:
    const dicom_mend_dataset* data_set_;
    const dicom_mend_element* sequence_;
    std::size_t size_;
};

inline Items Element::items() const
{
    return {data_set_, element_};
}

}  // namespace dicom_mend

#endif
