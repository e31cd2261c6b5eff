// The values of a data set before it is healed, and what has become of them.
#ifndef LIB_MEND_ORIGINAL_VALUES_H
#define LIB_MEND_ORIGINAL_VALUES_H

#include "mend/reading/data_set.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace lib_mend {

/** Levels of nesting that can be told of a value that changed. */
inline constexpr std::size_t Deepest_Change = 64;

/** A value that is not what it was. */
struct Changed_Value {
    Tag tag;
    /** Place of the element before the healing, or, for one that was added, behind it. */
    Path path;
    /** VR before the healing, 0 when it had none. */
    unsigned short vr = 0;
    /** VR behind it; 0 for an element that is gone. */
    unsigned short new_vr = 0;
    enum class Kind { Changed, Added, Gone } kind = Kind::Changed;
    /** Where the element stood in the source. */
    std::int64_t position = 0;
    /** It is nested too deeply to be told where, and has no path. */
    bool is_too_deep = false;
    /** The value of before, numbers in little endian. */
    Bytes value;
};

/**
 * Takes the values of a data set when it is made. Bulk values stay in the source, which is asked
 * again. An element is the same one as long as its place in the source is.
 */
class Original_Values {
public:
    explicit Original_Values(const Data_Set& set);

    /**
     * Calls `visit` for each value that differs in more than the padding behind it, in the order of
     * the tree, those that are gone last; pixel data of the data set itself are not compared.
     */
    void For_Each_Change(const Data_Set& set,
                         const std::function<void(const Changed_Value&)>& visit) const;

    /** Tells whether the pixel data are other ones or in another form. */
    bool Pixels_Changed(const Data_Set& set) const;

    /** The value that (0008,0005) of the data set had; empty when there was none. */
    std::string Character_Terms() const;

private:
    struct Element {
        /** Without what the record owns. */
        DICOM_List record;
        bool is_loaded;
        Bytes value;
        /** Index of its list. */
        std::size_t list;
    };
    /** Where an element stands in the source. */
    struct Key {
        std::int64_t position;
        Tag tag;

        bool operator==(const Key&) const = default;
    };
    struct Hash_Of_Key {
        std::size_t operator()(const Key& key) const
        {
            const std::uint64_t tag = std::uint64_t{key.tag.group} << 16 | key.tag.element;
            return std::hash<std::uint64_t>()(static_cast<std::uint64_t>(key.position) << 32 ^ tag);
        }
    };
    struct List {
        std::size_t around;
        Path_Step step;
        std::size_t depth;
    };

    static Key Key_Of(const DICOM_List& record)
    {
        return {Position_Of(record), Tag_Of(record)};
    }
    Path Path_Of(std::size_t list) const;
    Bytes Value_Of(const Element& element, const Data_Set& set) const;
    Changed_Value Change_Of(const Element& element, const Data_Set& set) const;

    std::vector<Element> elements_;
    std::vector<List> lists_ = {{}};
    std::unordered_map<Key, std::size_t, Hash_Of_Key> index_;
};

}  // namespace lib_mend

#endif
