/**
 * @file dataset.hpp
 * The C++ interface: data sets as values, elements and items to go through, findings as objects.
 *
 * It is made of the C interface of dicom_mend.h and of nothing else, so that what is said there of
 * threads, units and byte order holds here. What fails throws dicom_mend::Error, and std::bad_alloc
 * without memory; accessors that return std::optional do not throw for what is not there.
 *
 *     dicom_mend::Session session;
 *     dicom_mend::Dataset ds = session.read("old.dcm");
 *     std::cout << ds["PatientName"].text().value_or("nobody") << '\n';
 *     for (const dicom_mend::Element& element : ds) { ... }
 *     session.mend(ds);
 *     session.write(ds, "new.dcm");
 *     for (const dicom_mend::Finding& finding : session.findings()) { ... }
 *
 * Elements and items refer into their data set: they are valid until it is changed, moved or gone.
 */
#ifndef LIB_DICOM_MEND_DATASET_HPP
#define LIB_DICOM_MEND_DATASET_HPP

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dicom_mend {

/** A call that failed: its status, and the reason in words. */
class Error : public std::runtime_error {
public:
    Error(dicom_mend_status status, const std::string& reason)
        : std::runtime_error(reason), status_(status)
    {
    }
    dicom_mend_status status() const noexcept
    {
        return status_;
    }

private:
    dicom_mend_status status_;
};

/** A tag (PS3.5 section 7.1), in order of group and element. */
struct Tag {
    std::uint16_t group = 0;
    std::uint16_t element = 0;

    constexpr std::uint32_t number() const
    {
        return std::uint32_t{group} << 16 | element;
    }
    static constexpr Tag of(std::uint32_t number)
    {
        return {static_cast<std::uint16_t>(number >> 16),
                static_cast<std::uint16_t>(number & 0xFFFF)};
    }
    constexpr auto operator<=>(const Tag&) const = default;
};

namespace detail {

/** Turns a status into an exception. */
inline void check(dicom_mend_status status, const char* reason = nullptr)
{
    if (status == DICOM_MEND_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != DICOM_MEND_OK) {
        throw Error(status,
                    reason != nullptr && *reason != '\0' ? reason : dicom_mend_status_text(status));
    }
}

/** A text from a function that writes it into a buffer and returns its length. */
template <class Write>
std::string text_of(Write&& write)
{
    std::string text(write(nullptr, 0), '\0');
    write(text.data(), text.size() + 1);
    return text;
}

struct Free {
    void operator()(void* memory) const noexcept
    {
        dicom_mend_free(memory);
    }
    void operator()(dicom_mend_session* session) const noexcept
    {
        dicom_mend_session_free(session);
    }
    void operator()(dicom_mend_dataset* data_set) const noexcept
    {
        dicom_mend_dataset_free(data_set);
    }
};

}  // namespace detail

/** The tag of "PatientName", "0010,0010", "(0010,0010)" or "00100010". */
inline std::optional<Tag> parse_tag(const std::string& text)
{
    std::uint32_t tag = 0;
    return dicom_mend_parse_tag(text.c_str(), &tag) == DICOM_MEND_OK ? std::optional(Tag::of(tag))
                                                                     : std::nullopt;
}

/** What was found and what becomes of it; a copy that stays valid. */
struct Finding {
    /** Stable number and stable name of the kind. */
    int code = 0;
    std::string kind;
    dicom_mend_severity severity = DICOM_MEND_SEVERITY_INFO;
    dicom_mend_level level = DICOM_MEND_INFO;
    /** Nothing for findings about the file as a whole. */
    std::optional<Tag> tag;
    std::string path;
    /** In bytes from the start of the file, and of the value. */
    std::optional<std::int64_t> offset;
    std::optional<std::int64_t> length;
    std::string message;
    /** Bytes of the file; they may identify a person unless `is_harmless`. */
    std::string before;
    std::string after;
    bool is_harmless = false;
    std::string rule;
    std::string clause;
};

class Items;

/** An element of a data set; an empty one stands for what is not there. */
class Element {
public:
    Element() = default;
    Element(const dicom_mend_dataset* data_set, const dicom_mend_element* element)
        : data_set_(data_set), element_(element)
    {
    }

    explicit operator bool() const
    {
        return element_ != nullptr;
    }
    Tag tag() const
    {
        return Tag::of(dicom_mend_tag(element_));
    }
    /** Two letters, or nothing. */
    std::string vr() const
    {
        char vr[3];
        dicom_mend_vr(element_, vr);
        return vr;
    }
    std::string name() const
    {
        const std::uint32_t number = dicom_mend_tag(element_);
        return detail::text_of([number](char* buffer, std::size_t capacity) {
            return dicom_mend_tag_name(number, buffer, capacity);
        });
    }
    /** Empty for private and unknown tags. */
    std::string keyword() const
    {
        const std::uint32_t number = dicom_mend_tag(element_);
        return detail::text_of([number](char* buffer, std::size_t capacity) {
            return dicom_mend_tag_keyword(number, buffer, capacity);
        });
    }
    /** Bytes of the value. */
    std::size_t length() const
    {
        return dicom_mend_length(element_);
    }
    /** Place of the tag in the file. */
    std::int64_t offset() const
    {
        return dicom_mend_offset(element_);
    }
    /** Number of values. */
    std::size_t count() const
    {
        return dicom_mend_value_count(data_set_, element_);
    }
    /** A value in UTF-8 without padding. */
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
    std::vector<std::string> texts() const
    {
        return all<std::string>([this](std::size_t i) { return text(i); });
    }
    std::optional<double> number(std::size_t index = 0) const
    {
        double value = 0;
        return dicom_mend_get_double(data_set_, element_, index, &value) == DICOM_MEND_OK
                   ? std::optional(value)
                   : std::nullopt;
    }
    /** Those that are numbers. */
    std::vector<double> numbers() const
    {
        return all<double>([this](std::size_t i) { return number(i); });
    }
    std::optional<std::int64_t> integer(std::size_t index = 0) const
    {
        std::int64_t value = 0;
        return dicom_mend_get_int(data_set_, element_, index, &value) == DICOM_MEND_OK
                   ? std::optional(value)
                   : std::nullopt;
    }
    std::vector<std::int64_t> integers() const
    {
        return all<std::int64_t>([this](std::size_t i) { return integer(i); });
    }
    /** Bytes of the value, numbers in little endian. */
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
    bool is_sequence() const
    {
        return dicom_mend_is_sequence(element_) != 0;
    }
    Items items() const;
    std::size_t fragment_count() const
    {
        return dicom_mend_fragment_count(element_);
    }
    Element fragment(std::size_t index) const
    {
        return {data_set_, dicom_mend_get_fragment(element_, index)};
    }
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

/** Goes through the elements of a list. */
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
    Item(const dicom_mend_dataset* data_set, const dicom_mend_item* item)
        : data_set_(data_set), item_(item)
    {
    }

    Element_Iterator begin() const
    {
        return {data_set_, dicom_mend_first(data_set_, item_)};
    }
    Element_Iterator end() const
    {
        return {data_set_, nullptr};
    }
    Element find(Tag tag) const
    {
        return {data_set_, dicom_mend_find(data_set_, item_, tag.number())};
    }
    /** By keyword or tag; an empty element when it is not there. */
    Element operator[](const std::string& name) const
    {
        const std::optional<Tag> tag = parse_tag(name);
        return tag ? find(*tag) : Element();
    }
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

    Items(const dicom_mend_dataset* data_set, const dicom_mend_element* sequence)
        : data_set_(data_set), sequence_(sequence), size_(dicom_mend_item_count(sequence))
    {
    }

    std::size_t size() const
    {
        return size_;
    }
    /** Throws Error behind the last. */
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

/** A data set: a value that is copied with all that it holds. */
class Dataset {
public:
    /** Without elements, to be written in explicit VR little endian. */
    Dataset()
        : data_set_(
              made([](auto* session, auto** out) { return dicom_mend_dataset_new(session, out); }))
    {
    }
    explicit Dataset(dicom_mend_dataset* data_set) : data_set_(data_set)
    {
    }
    Dataset(const Dataset& other)
        : data_set_(made([&other](auto* session, auto** out) {
              return dicom_mend_dataset_copy(session, other.handle(), out);
          }))
    {
    }
    Dataset(Dataset&&) noexcept = default;
    Dataset& operator=(const Dataset& other)
    {
        Dataset copy(other);
        std::swap(data_set_, copy.data_set_);
        return *this;
    }
    Dataset& operator=(Dataset&&) noexcept = default;
    ~Dataset() = default;

    Element_Iterator begin() const
    {
        return top().begin();
    }
    Element_Iterator end() const
    {
        return top().end();
    }
    Item top() const
    {
        return {handle(), nullptr};
    }
    /** The file meta information, group 0002. */
    std::vector<Element> meta() const
    {
        const Element_Iterator first(handle(), dicom_mend_first_meta(handle()));
        return {first, end()};
    }
    /**
     * Calls `visit(element, depth)` for the elements of the whole tree, a sequence before its
     * contents. Depth 0 is the top level.
     */
    template <class Visit>
    void walk(Visit&& visit) const
    {
        struct Level {
            const dicom_mend_element* next;
            const dicom_mend_element* sequence;
            std::size_t item;
        };
        std::vector<Level> levels = {{dicom_mend_first(handle(), nullptr), nullptr, 0}};
        while (!levels.empty()) {
            Level& level = levels.back();
            if (level.next != nullptr) {
                const dicom_mend_element* const element = level.next;
                level.next = dicom_mend_next(element);
                visit(Element(handle(), element), levels.size() - 1);
                if (const auto* const item = dicom_mend_get_item(element, 0)) {
                    levels.push_back({dicom_mend_first(handle(), item), element, 0});
                }
            } else if (const auto* const item =
                           dicom_mend_get_item(level.sequence, level.item + 1)) {
                ++level.item;
                level.next = dicom_mend_first(handle(), item);
            } else {
                levels.pop_back();
            }
        }
    }
    /** By path, keyword or tag; an empty element when it is not there. */
    Element operator[](const std::string& path) const
    {
        const dicom_mend_element* element = nullptr;
        dicom_mend_find_path(handle(), path.c_str(), &element, nullptr);
        return {handle(), element};
    }
    /** The same; throws Error when it is not there. */
    Element at(const std::string& path) const
    {
        const dicom_mend_element* element = nullptr;
        detail::check(dicom_mend_find_path(handle(), path.c_str(), &element, nullptr),
                      path.c_str());
        return {handle(), element};
    }
    /** UID of the transfer syntax that it was read in. */
    std::string transfer_syntax() const
    {
        return detail::text_of([this](char* buffer, std::size_t capacity) {
            return dicom_mend_transfer_syntax(handle(), buffer, capacity);
        });
    }

    /** Several values have backslashes between them. The VR is found when it is not given. */
    void set(Tag tag, std::string_view text, const Item& item = {}, const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_text(handle(), item.handle(), tag.number(), vr, text.data(),
                                          text.size()));
    }
    void set(Tag tag, std::span<const double> numbers, const Item& item = {},
             const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_doubles(handle(), item.handle(), tag.number(), vr,
                                             numbers.data(), numbers.size()));
    }
    void set(Tag tag, std::span<const std::int64_t> numbers, const Item& item = {},
             const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_ints(handle(), item.handle(), tag.number(), vr, numbers.data(),
                                          numbers.size()));
    }
    /** Numbers inside are little endian. */
    void set_bytes(Tag tag, std::span<const unsigned char> bytes, const Item& item = {},
                   const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_bytes(handle(), item.handle(), tag.number(), vr, bytes.data(),
                                           bytes.size()));
    }
    /** The same as the first by keyword; throws Error for one that nobody knows. */
    void set(const std::string& name, std::string_view text, const Item& item = {})
    {
        set(known(name), text, item);
    }
    Item add_item(Tag sequence, const Item& item = {})
    {
        const dicom_mend_item* added = nullptr;
        detail::check(dicom_mend_add_item(handle(), item.handle(), sequence.number(), &added));
        return {handle(), added};
    }
    /** False when it was not there. */
    bool remove(Tag tag, const Item& item = {})
    {
        return dicom_mend_remove(handle(), item.handle(), tag.number()) == DICOM_MEND_OK;
    }

    dicom_mend_dataset* handle() const
    {
        return data_set_.get();
    }

private:
    static Tag known(const std::string& name)
    {
        const std::optional<Tag> tag = parse_tag(name);
        if (!tag) {
            throw Error(DICOM_MEND_NOT_FOUND, "no attribute is called " + name);
        }
        return *tag;
    }
    template <class Make>
    static dicom_mend_dataset* made(Make&& make)
    {
        const std::unique_ptr<dicom_mend_session, detail::Free> session(dicom_mend_session_new());
        if (session == nullptr) {
            throw std::bad_alloc();
        }
        dicom_mend_dataset* out = nullptr;
        detail::check(make(session.get(), &out), dicom_mend_last_error(session.get()));
        return out;
    }

    std::unique_ptr<dicom_mend_dataset, detail::Free> data_set_;
};

/** Options, and what was found with them. */
class Session {
public:
    Session() : session_(dicom_mend_session_new())
    {
        if (session_ == nullptr) {
            throw std::bad_alloc();
        }
    }

    Session& set(dicom_mend_flag flag, bool on = true)
    {
        check(dicom_mend_set_flag(handle(), flag, on ? 1 : 0));
        return *this;
    }
    Session& set(dicom_mend_syntax syntax)
    {
        check(dicom_mend_set_syntax(handle(), syntax));
        return *this;
    }
    /** The character set that texts have whatever a file declares: "ISO_IR 100". */
    Session& set_charset(const std::string& terms)
    {
        check(dicom_mend_set_charset(handle(), terms.c_str()));
        return *this;
    }

    Dataset read(const std::string& path)
    {
        dicom_mend_dataset* out = nullptr;
        check(dicom_mend_read_file(handle(), path.c_str(), &out));
        return Dataset(out);
    }
    Dataset read(std::span<const unsigned char> bytes)
    {
        dicom_mend_dataset* out = nullptr;
        check(dicom_mend_read_buffer(handle(), bytes.data(), bytes.size(), &out));
        return Dataset(out);
    }
    Dataset from_json(std::string_view text)
    {
        dicom_mend_dataset* out = nullptr;
        check(dicom_mend_from_json(handle(), text.data(), text.size(), &out));
        return Dataset(out);
    }
    /** @param longest_inline  values with more bytes become references; 0 for all inline */
    std::string to_json(const Dataset& ds, std::size_t longest_inline = 0)
    {
        char* text = nullptr;
        std::size_t size = 0;
        check(dicom_mend_to_json(handle(), ds.handle(), longest_inline, &text, &size));
        const std::unique_ptr<char, detail::Free> memory(text);
        return {text, size};
    }
    /** Finds what mending would find. @param module  IOD to verify against, "auto", or null */
    void check(const Dataset& ds, const char* module = nullptr)
    {
        check(dicom_mend_check(handle(), ds.handle(), module));
    }
    void mend(Dataset& ds)
    {
        check(dicom_mend_mend(handle(), ds.handle()));
    }
    void complete(Dataset& ds, const std::string& module = "auto", const std::string& rules = {})
    {
        check(dicom_mend_complete(handle(), ds.handle(), module.c_str(), rules.c_str()));
    }
    void undo(Dataset& ds)
    {
        check(dicom_mend_undo(handle(), ds.handle()));
    }
    /** A Part 10 file in memory. */
    std::vector<unsigned char> encode(const Dataset& ds)
    {
        unsigned char* bytes = nullptr;
        std::size_t size = 0;
        check(dicom_mend_encode(handle(), ds.handle(), &bytes, &size));
        const std::unique_ptr<unsigned char, detail::Free> memory(bytes);
        return {bytes, bytes + size};
    }
    void write(const Dataset& ds, const std::string& path, bool replace = false)
    {
        check(dicom_mend_write_file(handle(), ds.handle(), path.c_str(), replace ? 1 : 0));
    }

    std::vector<Finding> findings() const
    {
        std::vector<dicom_mend_finding_data> data(dicom_mend_finding_count(handle()));
        dicom_mend_get_findings(handle(), 0, data.data(), sizeof data[0], data.size());
        std::vector<Finding> findings;
        findings.reserve(data.size());
        for (const dicom_mend_finding_data& one : data) {
            findings.push_back(copy(one));
        }
        return findings;
    }
    void clear_findings()
    {
        dicom_mend_clear_findings(handle());
    }
    /** 0 nothing, 1 something is against the standard, 2 something was lost. */
    int outcome() const
    {
        return dicom_mend_outcome(handle());
    }
    std::string report(const std::string& file, dicom_mend_format format = DICOM_MEND_TEXT,
                       bool show_values = false)
    {
        char* text = nullptr;
        std::size_t size = 0;
        check(dicom_mend_report(handle(), file.c_str(), format, show_values ? 1 : 0, &text, &size));
        const std::unique_ptr<char, detail::Free> memory(text);
        return {text, size};
    }
    dicom_mend_session* handle() const
    {
        return session_.get();
    }

private:
    void check(dicom_mend_status status) const
    {
        detail::check(status, dicom_mend_last_error(handle()));
    }
    static std::string bytes_of(const unsigned char* bytes, std::size_t size)
    {
        return bytes != nullptr ? std::string(bytes, bytes + size) : std::string();
    }
    static Finding copy(const dicom_mend_finding_data& data)
    {
        const auto known = [](std::int64_t place) {
            return place >= 0 ? std::optional(place) : std::nullopt;
        };
        return {.code = data.code,
                .kind = data.kind,
                .severity = static_cast<dicom_mend_severity>(data.severity),
                .level = static_cast<dicom_mend_level>(data.level),
                .tag = data.has_tag != 0 ? std::optional(Tag::of(data.tag)) : std::nullopt,
                .path = data.path,
                .offset = known(data.offset),
                .length = known(data.length),
                .message = data.message,
                .before = bytes_of(data.before, data.before_size),
                .after = bytes_of(data.after, data.after_size),
                .is_harmless = data.is_harmless != 0,
                .rule = data.rule,
                .clause = data.clause};
    }

    std::unique_ptr<dicom_mend_session, detail::Free> session_;
};

}  // namespace dicom_mend

#endif
