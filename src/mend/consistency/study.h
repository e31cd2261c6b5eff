// What the files of a patient, a study, a series and a frame of reference must agree about
// (PS3.3 section A.1.2), and whether what they refer to in each other is so. Of each file a few hundred
// bytes are kept, and some for each instance that it refers to.
#ifndef LIB_MEND_STUDY_H
#define LIB_MEND_STUDY_H

#include "mend/reading/data_set.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lib_mend {

/** What of a data set is compared with others. */
struct Study_Facts {
    static constexpr std::size_t Elements = 30;

    /** Where an element stands. */
    struct Spot {
        Tag tag = {};
        /** To the list around it, or a shorter one of the same Path_Text. */
        Path path = {};
        std::int64_t offset = Finding::Nowhere;
        /** That of its value. */
        std::int64_t length = Finding::Nowhere;
    };

    /** What it says of another instance; once for each. */
    struct Reference {
        std::string instance;
        /** Empty where it does not tell. */
        std::string sop_class = {};
        Spot class_spot = {};
        /** The highest number of a frame; 0 for none. */
        std::int64_t frame = 0;
        Spot frame_spot = {};
    };

    /** A finding that is followed; once for each label. */
    struct Tracked {
        std::string uid;
        /** Empty where there is none. */
        std::string label;
        /** Of the element with the UID. */
        Spot spot;
    };

    std::string syntax = {};
    bool is_encapsulated = false;
    /** In a form in which equal values are equal texts; empty where there is none. */
    std::array<std::string, Elements> values = {};
    /** Finding::Nowhere where there is no element. */
    std::array<std::int64_t, Elements> offsets = {};
    std::array<std::int64_t, Elements> lengths = {};
    std::vector<Reference> references = {};
    std::vector<Tracked> trackings = {};
};

/** @param path  to the list around the record; of any length */
Study_Facts::Spot Spot_Of(const DICOM_List& record, const Path& path);

/** Of a healed data set. */
Study_Facts Facts_Of(const Data_Set& set);

class Study {
public:
    /** Finds the sum of a file's contents again; empty when it cannot be read any more. */
    using Sum_Of_File = std::function<std::string(const std::string& file)>;

    Study();

    /** Takes what a file says. The order of the files does not matter. */
    void Add(const std::string& file, const Study_Facts& facts);

    struct Told {
        std::string file;
        Findings findings;
    };
    /** What does not agree, by the names of the files. Throws std::bad_alloc. */
    std::vector<Told> Compare(const Sum_Of_File& sum_of);

private:
    /** Number of a value among all; 0 for none. */
    using Value = std::uint32_t;

    static constexpr std::size_t Elements = Study_Facts::Elements;

    /** As in Study_Facts. */
    struct Spot {
        std::int64_t offset = Finding::Nowhere;
        /** Its steps as bytes: many files have the same. */
        Value path = 0;
        std::uint32_t length = 0;
        Tag tag = {};
    };
    /** As in Study_Facts. */
    struct Reference {
        Value instance = 0;
        Value sop_class = 0;
        Spot class_spot = {};
        std::int64_t frame = 0;
        Spot frame_spot = {};
    };
    /** As in Study_Facts. */
    struct Tracked {
        Value uid;
        Value label;
        Spot spot;
    };
    struct File {
        std::string name;
        std::string syntax;
        bool is_encapsulated = false;
        Value patient = 0;
        /** Of its own, not one of the registry. */
        Value frame = 0;
        std::array<Value, Elements> values = {};
        std::array<std::int64_t, Elements> offsets = {};
        /** A header has no room for more. */
        std::array<std::uint32_t, Elements> lengths = {};
        std::vector<Reference> references = {};
        std::vector<Tracked> trackings = {};
    };

    /** What a finding says beside its text. */
    struct Wording {
        Fault fault = Fault::Other;
        Level level = Level::Kept;
        /** Of what has the same key: "series". */
        const char* name = "";
        const char* clause = nullptr;
    };
    struct Shares;

    Value Number_Of(const std::string& text);
    Spot Kept(const Study_Facts::Spot& spot);
    static Value Key_Of(const File& file, std::size_t element);
    /** Compares one element of what has the same key; tells of which files it was said to differ. */
    std::vector<bool> Compare_Element(std::size_t key, std::size_t element, const Wording& wording,
                                      const std::vector<bool>& is_left_out,
                                      std::vector<Told>& told) const;
    void Compare_Groups(std::vector<Told>& told) const;
    void Compare_Patients(std::vector<Told>& told) const;
    void Compare_UIDs(std::vector<Told>& told) const;
    void Compare_References(std::vector<Told>& told) const;
    void Compare_Reference(const Reference& reference, const File& target, Told& told) const;
    void Compare_Trackings(std::vector<Told>& told) const;
    void Compare_Instances(const Sum_Of_File& sum_of, std::vector<Told>& told) const;
    void Tell(Told& told, const File& file, std::size_t element, const Wording& wording,
              std::string text) const;
    void Tell_At(Told& told, const Spot& spot, unsigned short vr, const Wording& wording,
                 std::string text, std::string_view value) const;

    std::vector<File> files_;
    std::unordered_map<std::string, Value> numbers_;
    std::vector<const std::string*> texts_;
};

}  // namespace lib_mend

#endif
