#include "mend/consistency/study_references.h"

#include "mend/healing/numbers.h"
#include "mend/healing/records.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace lib_mend {

namespace {

constexpr Tag Referenced_Class = {0x0008, 0x1150};
constexpr Tag Referenced_Instance = {0x0008, 0x1155};
constexpr Tag Referenced_Frames = {0x0008, 0x1160};

/** Adds to what is known of an instance that the elements of an item refer to. */
class Reference_Gatherer {
public:
    Reference_Gatherer(const Data_Set& set, Study_Facts& facts) : set_(set), facts_(facts)
    {
    }

    void Take(const DICOM_List& record, const Path& path)
    {
        const Tag tag = Tag_Of(record);
        if (tag == Referenced_Class) {
            sop_class_ = &record;
        } else if (tag == Referenced_Instance) {
            Take_Instance(record, path);
        } else if (tag == Referenced_Frames && instance_ != nullptr && instance_->next == &record) {
            Take_Frames(record, path);
        }
    }

private:
    void Take_Instance(const DICOM_List& record, const Path& path)
    {
        instance_ = &record;
        const std::string uid = Trimmed(set_.Value(record, 128));
        const auto [known, is_new] = places_.emplace(uid, facts_.references.size());
        place_ = known->second;
        if (is_new) {
            facts_.references.push_back({uid});
        }
        Study_Facts::Reference& reference = facts_.references[place_];
        // The class stands right in front of the instance; that of another item is none of it.
        if (reference.sop_class.empty() && sop_class_ != nullptr && sop_class_->next == &record) {
            reference.sop_class = Trimmed(set_.Value(*sop_class_, 128));
            reference.class_spot = Spot_Of(*sop_class_, path);
        }
    }
    void Take_Frames(const DICOM_List& record, const Path& path)
    {
        constexpr std::size_t Longest = std::size_t{1} << 20;
        const Bytes bytes = set_.Value(record, Longest);
        const auto numbers = Numbers_In({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                                        VR_Of(record), record.byte_order);
        Study_Facts::Reference& reference = facts_.references[place_];
        const Numbers frames = numbers.value_or(Numbers());
        const auto highest = std::max_element(frames.begin(), frames.end());
        if (highest != frames.end() && *highest > reference.frame) {
            reference.frame = *highest;
            reference.frame_spot = Spot_Of(record, path);
        }
    }

    const Data_Set& set_;
    Study_Facts& facts_;
    std::unordered_map<std::string, std::size_t> places_;
    std::size_t place_ = 0;
    const DICOM_List* sop_class_ = nullptr;
    const DICOM_List* instance_ = nullptr;
};

}  // namespace

void Gather_References(const Data_Set& set, Study_Facts& facts)
{
    Reference_Gatherer gatherer(set, facts);
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        if (!path.empty() && record.group == Referenced_Class.group) {
            gatherer.Take(record, path);
        }
    });
}

}  // namespace lib_mend
