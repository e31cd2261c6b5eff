// What definition files say beyond types and values, kept beside the module lists.
#ifndef LIB_DICOM_SRC_DEFINITIONS_RULE_STORE_H
#define LIB_DICOM_SRC_DEFINITIONS_RULE_STORE_H

#include "definitions/definition_line.h"

#include <Lib_DICOM/rules.h>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lib_dicom {

/** Memory for what lives as long as the lists that are kept. */
class Rule_Arena {
public:
    template <class T>
    const T* Keep(const std::vector<T>& values)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if (values.empty()) {
            return nullptr;
        }
        auto* const kept = static_cast<T*>(Room(values.size() * sizeof(T)));
        std::copy(values.begin(), values.end(), kept);
        return kept;
    }
    /** A copy that ends with a NUL. */
    const char* Keep(std::string_view text);

private:
    void* Room(std::size_t size);

    std::vector<std::unique_ptr<std::max_align_t[]>> blocks_;
    std::size_t used_ = 0;
    std::size_t size_ = 0;
};

/** The rules of the lists that are kept, and the lines that were read for them. */
class Rule_Store {
public:
    using Rules = std::vector<DICOM_Rule>;
    using Parts = std::vector<DICOM_Part>;

    Rule_Arena& Arena()
    {
        return arena_;
    }
    /** What is kept of a file that stays in memory. @param text  where its text stands */
    Kept_File& File(const char* text)
    {
        return files_[text];
    }
    Kept_Line& New_Line()
    {
        return lines_.emplace_back();
    }
    /** Begins the rules of a list, of whose records so many have some. */
    void Add(const DICOM_List* list, Parts parts, std::size_t records);
    void Add(const DICOM_List* record, const Rules& rules);
    std::span<const DICOM_Rule> Rules_Of(const DICOM_List* record) const;
    const Parts* Parts_Of(const DICOM_List* list) const;

private:
    /** Rules of a record. They are asked for by the million, so that the table is open: no chains. */
    struct Entry {
        const DICOM_List* record = nullptr;
        std::span<const DICOM_Rule> rules;
    };
    /** Where a record stands, or would. */
    std::size_t Place_Of(const DICOM_List* record) const;
    void Make_Room(std::size_t count);

    Rule_Arena arena_;
    std::unordered_map<const char*, Kept_File> files_;
    std::deque<Kept_Line> lines_;
    /** As many as a power of two, half of them free at least. */
    std::vector<Entry> entries_;
    std::size_t used_ = 0;
    std::unordered_map<const DICOM_List*, Parts> parts_;
};

}  // namespace lib_dicom

#endif
