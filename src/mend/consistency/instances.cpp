// Instances that a part of a data set refers to, and that another part of it lists: the evidence of a
// report, the images of a presentation, those that a structure set was drawn on.
#include "mend/consistency/rules.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

namespace lib_mend {

namespace {

constexpr Tag SOP_Class = {0x0008, 0x0016};
constexpr Tag Referenced_Class = {0x0008, 0x1150};
constexpr Tag Referenced_Instance = {0x0008, 0x1155};

constexpr Tag Referenced_Frames = {0x0008, 0x1160};
constexpr Tag SOP_Instance = {0x0008, 0x0018};

constexpr std::array Tags = {SOP_Class, SOP_Instance, Referenced_Class, Referenced_Instance};

/**
 * Sequences of what an object was made of, comes after, presents or lists beside itself: it is none of
 * that. Elsewhere makers name an object itself, as the localizer of itself, and no rule forbids it.
 */
constexpr Tag Of_Others[] = {
    {0x0008, 0x1115}, {0x0008, 0x2112}, {0x0008, 0x9092}, {0x0008, 0x9124}, {0x0020, 0x9172},
    {0x0040, 0xA360}, {0x0040, 0xA375}, {0x0040, 0xA385}, {0x0040, 0xA525}, {0x0040, 0xA730},
    {0x0070, 0x0001}, {0x3006, 0x0010}, {0x300C, 0x0002}, {0x300C, 0x0060},
};

bool Is_Of_Others(Tag sequence)
{
    return std::find(std::begin(Of_Others), std::end(Of_Others), sequence) != std::end(Of_Others);
}

constexpr std::string_view Key_Objects = "1.2.840.10008.5.1.4.1.1.88.59";
/** Of pixels, and of labels. */
constexpr std::string_view Segmentations[] = {"1.2.840.10008.5.1.4.1.1.66.4",
                                              "1.2.840.10008.5.1.4.1.1.66.7"};

enum class Family { Report, Presentation, Structure_Set, Segmentation };

struct Family_Row {
    /** Null where a data set that lists nothing is not wrong. */
    const char* nothing_listed;
    const char* not_listed;
    const char* other_class;
};
/** By family. */
constexpr Family_Row Families[] = {
    {"the document refers to instances, and has no sequence of evidence",
     "the evidence of the document does not name this instance",
     "the evidence of the document names another SOP class for the instance"},
    {nullptr, "the presentation has no image of this UID",
     "the presentation names another SOP class for the image"},
    {nullptr, "the referenced frames of reference do not name this image",
     "the referenced frames of reference name another SOP class for the image"},
    {nullptr, "Referenced Series Sequence does not name this source image",
     "Referenced Series Sequence names another SOP class for the source image"},
};

enum class Role {
    Lists,
    /** Names instances besides those of the list. */
    Names,
    Refers
};

/** Where a family lists instances, and where it refers to them. */
struct Instance_Row {
    Tag sequence;
    Tag outermost;
    Family family;
    Role role;
    const char* clause;
};

constexpr Tag Presented_Images = {0x0008, 0x1140};
constexpr Tag Referenced_SOPs = {0x0008, 0x1199};
constexpr Tag Contour_Images = {0x3006, 0x0016};
constexpr Tag Referenced_Instances = {0x0008, 0x114A};
constexpr Tag Source_Images = {0x0008, 0x2112};

constexpr Instance_Row Rows[] = {
    {Presented_Images, {0x0008, 0x1115}, Family::Presentation, Role::Lists, nullptr},
    {Presented_Images, {0x0028, 0x3110}, Family::Presentation, Role::Refers, "PS3.3 C.11.8"},
    {Presented_Images, {0x0070, 0x0001}, Family::Presentation, Role::Refers, "PS3.3 C.10.5"},
    {Presented_Images, {0x0070, 0x005A}, Family::Presentation, Role::Refers, "PS3.3 C.10.4"},
    {Presented_Images, {0x0070, 0x0402}, Family::Presentation, Role::Lists, nullptr},
    // A document that is replaced, or of which this is a copy, is no evidence, and is named all the same.
    {Referenced_SOPs, {0x0040, 0xA360}, Family::Report, Role::Names, nullptr},
    {Referenced_SOPs, {0x0040, 0xA375}, Family::Report, Role::Lists, nullptr},
    {Referenced_SOPs, {0x0040, 0xA385}, Family::Report, Role::Lists, nullptr},
    {Referenced_SOPs, {0x0040, 0xA525}, Family::Report, Role::Names, nullptr},
    {Referenced_SOPs, {0x0040, 0xA730}, Family::Report, Role::Refers, "PS3.3 C.17.2"},
    {Contour_Images, {0x3006, 0x0010}, Family::Structure_Set, Role::Lists, nullptr},
    {Contour_Images, {0x3006, 0x0039}, Family::Structure_Set, Role::Refers, "PS3.3 C.8.8.6"},
    {Referenced_Instances, {0x0008, 0x1115}, Family::Segmentation, Role::Lists, nullptr},
    {Referenced_Instances, {0x0008, 0x1200}, Family::Segmentation, Role::Lists, nullptr},
    {Source_Images, {0x5200, 0x9229}, Family::Segmentation, Role::Refers, "PS3.3 C.12.2"},
    {Source_Images, {0x5200, 0x9230}, Family::Segmentation, Role::Refers, "PS3.3 C.12.2"},
};

/**
 * Null also for what belongs to a reference of a presentation. Of a document it counts: the presentation
 * state of an image is evidence too.
 */
const Instance_Row* Row_Of(const Watched& element)
{
    const auto* const row =
        std::find_if(std::begin(Rows), std::end(Rows), [&](const Instance_Row& each) {
            return each.sequence == element.sequence && each.outermost == element.outermost &&
                   (element.around != each.sequence || each.family == Family::Report);
        });
    return row != std::end(Rows) ? row : nullptr;
}

struct Use {
    const Instance_Row* row;
    const DICOM_List* instance;
    const DICOM_List* sop_class;
};

class Instance_Check {
public:
    explicit Instance_Check(Subject_Set& subject)
        : subject_(subject), own_(subject.Top_Text(SOP_Instance)),
          is_key_object_(subject.Top_Text(SOP_Class) == Key_Objects),
          is_segmentation_(std::find(std::begin(Segmentations), std::end(Segmentations),
                                     subject.Top_Text(SOP_Class)) != std::end(Segmentations))
    {
    }

    void Gather()
    {
        const DICOM_List* sop_class = nullptr;
        subject_.For_Each([&](const Watched& element) {
            const Tag tag = element.tag;
            if (tag == Referenced_Class) {
                sop_class = element.record;
            }
            const Instance_Row* const row = tag == Referenced_Instance ? Row_Of(element) : nullptr;
            if (tag == Referenced_Instance) {
                Check_Self(element);
            }
            if (row == nullptr || subject_.Text(*element.record).empty() ||
                (row->family == Family::Segmentation && !is_segmentation_)) {
                return;
            }
            // The class stands right in front of the instance; that of another item is none of it.
            const bool is_of_it = sop_class != nullptr && sop_class->next == element.record;
            Add({row, element.record, is_of_it ? sop_class : nullptr});
        });
    }
    void Judge()
    {
        for (const Use& use : uses_) {
            Judge(use);
        }
    }

private:
    using UID = std::string_view;

    void Check_Self(const Watched& element)
    {
        const UID instance = subject_.Text(*element.record);
        // A frame may be made of another one of the same object.
        const DICOM_List* const next = element.record->next;
        const bool is_frame = next != nullptr && Tag_Of(*next) == Referenced_Frames;
        // What makers write into sequences of their own is theirs to know.
        const bool is_private = (element.outermost.group | element.around.group) % 2 != 0;
        if (instance.empty() || instance != own_ || is_frame || is_private ||
            std::exchange(names_itself_, true)) {
            return;
        }
        const bool is_wrong = Is_Of_Others(element.sequence) || Is_Of_Others(element.around) ||
                              Is_Of_Others(element.outermost);
        subject_.doubts.push_back({element.record, is_wrong ? Fault::Reference : Fault::Unlikely,
                                   is_wrong ? Level::Kept : Level::Info,
                                   "the object refers to itself", "PS3.3 C.12.1",
                                   std::string(instance)});
    }
    static std::size_t Index(const Use& use)
    {
        return static_cast<std::size_t>(use.row->family);
    }
    UID Class_Of(const Use& use) const
    {
        return use.sop_class != nullptr ? subject_.Text(*use.sop_class) : UID();
    }
    void Add(const Use& use)
    {
        has_list_[Index(use)] |= use.row->role == Role::Lists;
        if (use.row->role != Role::Refers) {
            listed_[Index(use)].emplace(subject_.Text(*use.instance), Class_Of(use));
        } else {
            uses_.push_back(use);
        }
    }
    void Judge(const Use& use)
    {
        const Family_Row& family = Families[Index(use)];
        const std::set<std::pair<UID, UID>>& listed = listed_[Index(use)];
        const UID instance = subject_.Text(*use.instance);
        const UID sop_class = Class_Of(use);
        const auto first = listed.lower_bound({instance, UID()});
        // Key objects always have evidence, and the module says that it is missing.
        const bool has_to_list = family.nothing_listed != nullptr && !is_key_object_;
        const bool has_list = has_list_[Index(use)];
        if (!has_list && !has_to_list) {
            return;
        }
        if (first == listed.end() || first->first != instance) {
            // A thousand contours on an image that is not listed are one fault.
            if (told_.emplace(has_list ? instance : UID()).second) {
                Doubt_Of(use, *use.instance, has_list ? family.not_listed : family.nothing_listed);
            }
        } else if (!sop_class.empty() && !first->second.empty() &&
                   listed.count({instance, sop_class}) == 0 && told_.emplace(instance).second) {
            Doubt_Of(use, *use.sop_class, family.other_class);
        }
    }
    void Doubt_Of(const Use& use, const DICOM_List& record, const char* text)
    {
        subject_.doubts.push_back({&record, Fault::Unlisted, Level::Kept, text,
                                   is_key_object_ ? "PS3.3 C.17.6.2" : use.row->clause,
                                   std::string(subject_.Text(record))});
    }

    Subject_Set& subject_;
    UID own_;
    bool is_key_object_;
    /** What other objects of many frames list is theirs to know. */
    bool is_segmentation_;
    bool names_itself_ = false;
    /** UIDs of instances with those of their classes. */
    bool has_list_[std::size(Families)] = {};
    std::set<std::pair<UID, UID>> listed_[std::size(Families)];
    std::vector<Use> uses_;
    std::set<UID> told_;
};

void Check(Subject_Set& subject)
{
    Instance_Check check(subject);
    check.Gather();
    check.Judge();
}

}  // namespace

constinit const Rule Instance_Rule = {Tags, Check};

}  // namespace lib_mend
