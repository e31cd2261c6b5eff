// A data set as a condition sees it: the item in hand, those around it, the top level, and the
// functional groups of the same frame (PS3.3 section C.7.6.16).
#ifndef LIB_MEND_OBJECT_H
#define LIB_MEND_OBJECT_H

#include "mend/reading/data_set.h"

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lib_mend {

inline constexpr Tag SOP_Class_Tag = {0x0008, 0x0016};
inline constexpr Tag Shared_Groups_Tag = {0x5200, 0x9229};
inline constexpr Tag Frame_Groups_Tag = {0x5200, 0x9230};

class Object {
public:
    explicit Object(const Data_Set& set);

    const Data_Set& Set() const
    {
        return set_;
    }
    /** Goes into an item of a sequence of the item in hand. */
    void Enter(const DICOM_List& sequence, int item);
    void Leave();
    /** The way to the item in hand. */
    const Path& Way() const
    {
        return way_;
    }
    /** The sum of that way, as findings have it; 0 where their paths are shown whole. */
    std::uint64_t Way_Sum() const
    {
        return way_.size() > Most_Shown_Steps ? levels_.back().sum : 0;
    }
    /** The list of the item in hand; null for one that is empty. */
    DICOM_List* List() const
    {
        return levels_.back().list;
    }
    /** An element of the item in hand. */
    DICOM_List* Find(Tag tag) const
    {
        return levels_.back().Find(tag);
    }
    /** The same for one who asks for tags in ascending order. */
    DICOM_List* Find_Next(Tag tag)
    {
        return levels_.back().Find_Next(tag);
    }
    /** Changes whenever another item is in hand. */
    unsigned long Turn() const
    {
        return turn_;
    }
    /** Tells whether the item in hand holds an element of a group. */
    bool Has_Group(unsigned short group) const;
    /** Groups that repeat (PS3.5 section 7.6): definitions describe the first. */
    static bool Repeats(unsigned short group)
    {
        return group == 0x5000 || group == 0x6000;
    }
    /** The groups of the item in hand that one stands for; the group itself when there is none. */
    std::vector<unsigned short> Repetitions(unsigned short group) const;
    const std::string& SOP_Class() const
    {
        return sop_class_;
    }

    /**
     * Calls `visit(record)` for each element that an operand stands for, until it returns true.
     *
     * @param group  the group of the attribute that the rule is about, for repeating groups
     * @return whether it did
     */
    using Visit = std::function<bool(const DICOM_List&)>;
    bool Any_Of(const DICOM_Step& operand, unsigned short group, const Visit& visit);
    /** Tells whether what an operand stands for is the same wherever in the data set one asks. */
    bool Is_Same_Everywhere(const DICOM_Step& operand) const;

private:
    /** Elements by tag. */
    class Level {
    public:
        DICOM_List* list = nullptr;
        std::vector<std::pair<Tag, DICOM_List*>> by_tag;
        /** Of the way to it. */
        std::uint64_t sum = Sum_Of_No_Steps;

        void Fill(DICOM_List* from);
        DICOM_List* Find(Tag tag) const;
        DICOM_List* Find_Next(Tag tag);

    private:
        std::size_t next_ = 0;
    };
    /** The elements of a functional group item and of the groups in it, by tag. */
    using Group_Index = std::vector<std::pair<Tag, const DICOM_List*>>;

    static void Add_To(Group_Index& index, DICOM_List* item);
    static void Sort(Group_Index& index);
    const Group_Index& Current_Frame();
    /** Of conditions outside of frames, which look into all of them. */
    const Group_Index& All_Frames();
    bool In_Frame() const
    {
        return !way_.empty() && way_.front().sequence == Frame_Groups_Tag;
    }
    static bool Follow(const DICOM_Step& operand, int from, const DICOM_List& record,
                       unsigned short group, const Visit& visit);
    bool Follow_In(const Group_Index& index, const DICOM_Step& operand, unsigned short group,
                   const Visit& visit) const;
    bool Any_In_Groups(const DICOM_Step& operand, unsigned short group, const Visit& visit);

    const Data_Set& set_;
    std::vector<Level> levels_;
    /** Levels that were left, whose memory is used again. */
    std::vector<Level> spare_;
    Path way_;
    unsigned long turn_ = 0;
    std::string sop_class_;
    const DICOM_List* frames_ = nullptr;
    Group_Index shared_;
    Group_Index frame_;
    Group_Index all_frames_;
    bool has_all_frames_ = false;
    int frame_number_ = -1;
};

}  // namespace lib_mend

#endif
