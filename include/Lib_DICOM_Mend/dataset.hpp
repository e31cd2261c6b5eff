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

#include <Lib_DICOM_Mend/element.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dicom_mend {

/** A data set: a value that is copied with all that it holds. */
class Dataset {
public:
    /** Without elements, to be written in explicit VR little endian. */
    Dataset()
        : data_set_(
              made([](auto* session, auto** out) { return dicom_mend_dataset_new(session, out); }))
    {
    }
    /** Takes over a handle of the C interface, and frees it. */
    explicit Dataset(dicom_mend_dataset* data_set) : data_set_(data_set)
    {
    }
    /** A copy of all that it holds. Values that were left in a file are shared. */
    Dataset(const Dataset& other)
        : data_set_(made([&other](auto* session, auto** out) {
              return dicom_mend_dataset_copy(session, other.handle(), out);
          }))
    {
    }
    /** What was moved from may be assigned to and destroyed, and holds nothing. */
    Dataset(Dataset&&) noexcept = default;
    Dataset& operator=(const Dataset& other)
    {
        Dataset copy(other);
        std::swap(data_set_, copy.data_set_);
        return *this;
    }
    Dataset& operator=(Dataset&&) noexcept = default;
    ~Dataset() = default;

    /** The elements of the top level in the order of the file. */
    Element_Iterator begin() const
    {
        return top().begin();
    }
    Element_Iterator end() const
    {
        return top().end();
    }
    /** The top level as a list of its own. */
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
        const dicom_mend_status status =
            dicom_mend_find_path(handle(), path.c_str(), &element, nullptr);
        const char* const why =
            status == DICOM_MEND_NOT_FOUND ? ": is not there" : ": is no path of tags and keywords";
        detail::check(status, (path + why).c_str());
        return {handle(), element};
    }
    /** UID of the transfer syntax that it was read in. */
    std::string transfer_syntax() const
    {
        return detail::text_of([this](char* buffer, std::size_t capacity) {
            return dicom_mend_transfer_syntax(handle(), buffer, capacity);
        });
    }

    /**
     * Sets an element, which comes into being in its place when it is not there. Throws Error for a value that
     * is none of the VR, or does not fit, and for a key that is no attribute.
     *
     * @param key   a tag, a keyword or the text of a tag
     * @param text  UTF-8, several values with backslashes between them; numbers for VRs of numbers
     * @param item  item that it belongs to, by default the top level
     * @param vr    two letters, or null for the VR that the element has or that the registry gives
     */
    void set(const Key& key, std::string_view text, const Item& item = {}, const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_text(handle(), item.handle(), key.number(), vr, text.data(),
                                          text.size()));
    }
    /** The same with numbers, which DS and IS take as text. */
    void set(const Key& key, std::span<const double> numbers, const Item& item = {},
             const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_doubles(handle(), item.handle(), key.number(), vr,
                                             numbers.data(), numbers.size()));
    }
    void set(const Key& key, std::span<const std::int64_t> numbers, const Item& item = {},
             const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_ints(handle(), item.handle(), key.number(), vr, numbers.data(),
                                          numbers.size()));
    }
    template <std::floating_point Number>
    void set(const Key& key, Number number, const Item& item = {}, const char* vr = nullptr)
    {
        const auto value = static_cast<double>(number);
        set(key, std::span(&value, 1), item, vr);
    }
    template <std::integral Number>
    requires(!std::same_as<Number, bool> &&
             !std::same_as<Number, char>) void set(const Key& key, Number number,
                                                   const Item& item = {}, const char* vr = nullptr)
    {
        if (!std::in_range<std::int64_t>(number)) {
            set(key, std::to_string(number), item, vr);
            return;
        }
        const auto value = static_cast<std::int64_t>(number);
        set(key, std::span(&value, 1), item, vr);
    }
    /** Bytes as they are; numbers inside are little endian, an odd number of bytes is padded. */
    void set_bytes(const Key& key, std::span<const unsigned char> bytes, const Item& item = {},
                   const char* vr = nullptr)
    {
        detail::check(dicom_mend_set_bytes(handle(), item.handle(), key.number(), vr, bytes.data(),
                                           bytes.size()));
    }
    /**
     * A new item at the end of a sequence, which comes into being when it is not there. Throws Error for
     * an element that is no sequence.
     *
     * @param item  item that the sequence belongs to, by default the top level
     */
    Item add_item(const Key& sequence, const Item& item = {})
    {
        const dicom_mend_item* added = nullptr;
        detail::check(dicom_mend_add_item(handle(), item.handle(), sequence.number(), &added));
        return {handle(), added};
    }
    /** Takes an element out with all that it holds; false when it was not there. */
    bool remove(const Key& key, const Item& item = {})
    {
        return dicom_mend_remove(handle(), item.handle(), key.number()) == DICOM_MEND_OK;
    }

    /**
     * The DICOM JSON model (PS3.18 annex F). Session::to_json also tells what JSON has no form for.
     *
     * @param longest_inline  values with more bytes become references; 0 for all inline
     */
    std::string to_json(std::size_t longest_inline = 0) const;
    /** From that model; throws Error for what is none. Session::from_json also tells what was wrong. */
    static Dataset from_json(std::string_view text);

    /** For the C interface; it stays this object's. */
    dicom_mend_dataset* handle() const
    {
        return data_set_.get();
    }

private:
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

    /** What is either asked for or not; nothing is at first. */
    Session& set(dicom_mend_flag flag, bool on = true)
    {
        check(dicom_mend_set_flag(handle(), flag, on ? 1 : 0));
        return *this;
    }
    /** The transfer syntax that is written. */
    Session& set(dicom_mend_syntax syntax)
    {
        check(dicom_mend_set_syntax(handle(), syntax));
        return *this;
    }
    /**
     * The character set that texts have whatever a file declares: a defined term, "ISO_IR 100", or several
     * with backslashes between them; "" for what the file declares. Throws Error for no such term.
     */
    Session& set_charset(const std::string& terms)
    {
        check(dicom_mend_set_charset(handle(), terms.c_str()));
        return *this;
    }

    /**
     * Reads a file. What is wrong with it becomes findings; Error is thrown when it cannot be opened or is
     * no DICOM file at all. It stays open and has to stay as it is while the data set lives.
     */
    Dataset read(const std::string& path)
    {
        dicom_mend_dataset* out = nullptr;
        check(dicom_mend_read_file(handle(), path.c_str(), &out));
        return Dataset(out);
    }
    /** The same from memory, which is copied. */
    Dataset read(std::span<const unsigned char> bytes)
    {
        dicom_mend_dataset* out = nullptr;
        check(dicom_mend_read_buffer(handle(), bytes.data(), bytes.size(), &out));
        return Dataset(out);
    }
    /** From the DICOM JSON model; findings tell line and column of what is wrong. Throws Error for no JSON. */
    Dataset from_json(std::string_view text)
    {
        dicom_mend_dataset* out = nullptr;
        check(dicom_mend_from_json(handle(), text.data(), text.size(), &out));
        return Dataset(out);
    }
    /** As Dataset::to_json; findings tell of values that JSON has no form for. */
    std::string to_json(const Dataset& ds, std::size_t longest_inline = 0)
    {
        char* text = nullptr;
        std::size_t size = 0;
        check(dicom_mend_to_json(handle(), ds.handle(), longest_inline, &text, &size));
        const std::unique_ptr<char, detail::Free> memory(text);
        return {text, size};
    }
    /**
     * Finds what mending would find, and changes nothing.
     *
     * @param module  IOD to verify against: its code ("CT"), "auto" for that of the SOP class, null for none
     */
    void check(const Dataset& ds, const char* module = nullptr)
    {
        check(dicom_mend_check(handle(), ds.handle(), module));
    }
    /** Heals a data set in place, by the options. */
    void mend(Dataset& ds)
    {
        check(dicom_mend_mend(handle(), ds.handle()));
    }
    /**
     * Heals it and supplies what its IOD requires. Throws Error for an IOD that there is not.
     *
     * @param module  code of the IOD, or "auto"
     * @param rules   lines of definitions that override those of the IOD
     */
    void complete(Dataset& ds, const std::string& module = "auto", const std::string& rules = {})
    {
        check(dicom_mend_complete(handle(), ds.handle(), module.c_str(), rules.c_str()));
    }
    /** Puts back what the last mending with DICOM_MEND_RECORD changed; throws Error when none did. */
    void undo(Dataset& ds)
    {
        check(dicom_mend_undo(handle(), ds.handle()));
    }
    /**
     * A Part 10 file in memory, by the options; what is not healed yet is healed in it. Throws Error when it
     * cannot be written, and a finding tells why.
     */
    std::vector<unsigned char> encode(const Dataset& ds)
    {
        unsigned char* bytes = nullptr;
        std::size_t size = 0;
        check(dicom_mend_encode(handle(), ds.handle(), &bytes, &size));
        const std::unique_ptr<unsigned char, detail::Free> memory(bytes);
        return {bytes, bytes + size};
    }
    /**
     * The same into a file, which is there whole or not at all.
     *
     * @param replace  an existing file may be replaced
     */
    void write(const Dataset& ds, const std::string& path, bool replace = false)
    {
        check(dicom_mend_write_file(handle(), ds.handle(), path.c_str(), replace ? 1 : 0));
    }

    /** All findings since the session was made or cleared, in their order. */
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
    /** Forgets them. */
    void clear_findings()
    {
        dicom_mend_clear_findings(handle());
    }
    /** 0 nothing, 1 something is against the standard, 2 something was lost. */
    int outcome() const
    {
        return dicom_mend_outcome(handle());
    }
    /**
     * All findings in one text, as the command line prints them.
     *
     * @param file         the name that the report gives the file
     * @param show_values  also values that may identify a person
     */
    std::string report(const std::string& file, dicom_mend_format format = DICOM_MEND_TEXT,
                       bool show_values = false)
    {
        char* text = nullptr;
        std::size_t size = 0;
        check(dicom_mend_report(handle(), file.c_str(), format, show_values ? 1 : 0, &text, &size));
        const std::unique_ptr<char, detail::Free> memory(text);
        return {text, size};
    }
    /** For the C interface; it stays this object's. */
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

inline std::string Dataset::to_json(std::size_t longest_inline) const
{
    return Session().to_json(*this, longest_inline);
}

inline Dataset Dataset::from_json(std::string_view text)
{
    return Session().from_json(text);
}

}  // namespace dicom_mend

#endif
