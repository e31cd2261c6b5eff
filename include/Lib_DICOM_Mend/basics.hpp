/**
 * @file basics.hpp
 * Errors, tags and findings of the C++ interface; see dataset.hpp.
 */
#ifndef LIB_DICOM_MEND_BASICS_HPP
#define LIB_DICOM_MEND_BASICS_HPP

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

namespace dicom_mend {

/** A call that failed: its status, and the reason in words. */
class Error : public std::runtime_error {
public:
    Error(dicom_mend_status status, const std::string& reason)
        : std::runtime_error(reason), status_(status)
    {
    }
    /** Which failure it is; what() has the words. */
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

    /** group * 65536 + element, as the C interface has it. */
    constexpr std::uint32_t number() const
    {
        return std::uint32_t{group} << 16 | element;
    }
    /** The tag of such a number. */
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

/** The tag of "PatientName", "0010,0010", "(0010,0010)" or "00100010"; nothing for anything else. */
inline std::optional<Tag> parse_tag(const std::string& text)
{
    std::uint32_t tag = 0;
    return dicom_mend_parse_tag(text.c_str(), &tag) == DICOM_MEND_OK ? std::optional(Tag::of(tag))
                                                                     : std::nullopt;
}

/** A tag wherever one is asked for: as such, as two numbers, or by keyword or text. */
class Key {
public:
    constexpr Key(Tag tag) : tag_(tag)
    {
    }
    constexpr Key(std::uint16_t group, std::uint16_t element) : tag_{group, element}
    {
    }
    /** What parse_tag takes. Throws Error with DICOM_MEND_NOT_FOUND for anything else. */
    Key(const std::string& text)
    {
        const std::optional<Tag> tag = parse_tag(text);
        if (!tag) {
            throw Error(DICOM_MEND_NOT_FOUND, "no attribute is called " + text);
        }
        tag_ = *tag;
    }
    Key(const char* text) : Key(std::string(text))
    {
    }

    /** group * 65536 + element. */
    constexpr std::uint32_t number() const
    {
        return tag_.number();
    }

private:
    Tag tag_;
};

/** What was found and what becomes of it; a copy that stays valid. */
struct Finding {
    /** Stable number and stable name of the kind: "odd-length". */
    int code = 0;
    std::string kind;
    /** How grave it is, and what becomes of it. */
    dicom_mend_severity severity = DICOM_MEND_SEVERITY_INFO;
    dicom_mend_level level = DICOM_MEND_INFO;
    /** Nothing for findings about the file as a whole. */
    std::optional<Tag> tag;
    /** "0040,0275[0]/0008,0100", items counted from 0; empty without a tag. */
    std::string path;
    /** Of the element's tag, in bytes from the start of the file; nothing when there is none. */
    std::optional<std::int64_t> offset;
    /** Of the value in the file, in bytes; nothing when it is not known. */
    std::optional<std::int64_t> length;
    /** What is wrong and what becomes of it, without values. */
    std::string message;
    /** At most 256 bytes of the value, as the file has them; they may identify a person. */
    std::string before;
    std::string after;
    /** True when these identify nobody (PS3.15 annex E). */
    bool is_harmless = false;
    /** What the standard asks for instead, and the clause: "PS3.5 7.1.1"; empty where it says nothing. */
    std::string rule;
    std::string clause;
};

}  // namespace dicom_mend

#endif
