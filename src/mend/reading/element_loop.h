// Reads the elements of one stream into a flat list, and follows the nesting as far as reading
// needs it: the encoding inside nested items, and where values end.
#ifndef LIB_MEND_ELEMENT_LOOP_H
#define LIB_MEND_ELEMENT_LOOP_H

#include "mend/io/deflate.h"
#include "mend/reading/data_set.h"

#include <vector>

namespace lib_mend {

class Element_Loop {
public:
    /**
     * @param mode    the byte-order code of the elements at the top level
     * @param budget  what the elements may cost; reading stops when it is spent
     */
    Element_Loop(const std::shared_ptr<Source>& source, std::int64_t start, unsigned char mode,
                 Findings& findings, const Memory_Budget& budget = {});

    /** Reads the elements of group 0002, which end at the first other group. */
    Record_List Read_Meta();
    /** Reads to the end of the stream, or to the first fault that nothing can be read behind. */
    Record_List Read_All();

    /** Position behind the last element that was read. */
    std::int64_t Position() const
    {
        return position_;
    }

    /** Sequences nested deeper than the library's context can tell. */
    bool Too_Deep() const
    {
        return deepest_ >= DICOM_Max_Depth;
    }

private:
    struct Nesting {
        enum class Kind { Sequence, Item, Fragments };

        Kind kind;
        /** Position at which the level ends, -1 when a delimitation item ends it. */
        std::int64_t end;
        /** Byte-order code of the elements inside. */
        unsigned char mode;
        Tag tag;
        std::int64_t offset;
    };

    // Each step returns false when nothing can be read behind it.
    bool Read_Element();
    bool Stop_At_Header(const Header& header);
    bool Stop_For_Memory();
    bool Read_Delimiter(DICOM_List& record);
    bool Read_Item(DICOM_List& record);
    bool Read_Data_Element(DICOM_List& record);
    bool Read_Value(DICOM_List& record);
    bool Keep_Cut_Value(DICOM_List& record);

    DICOM_List Make_Record(const Header& header) const;
    void Note_VR(DICOM_List& record);
    void Settle_Undefined_Length(DICOM_List& record, Nesting::Kind& kind);
    bool Is_Sequence_In_UN(const DICOM_List& record) const;
    bool Items_Follow(std::int64_t position) const;
    bool Keep_Item_End(const DICOM_List& record);
    bool Keep_Sequence_End(const DICOM_List& record);
    void Insert(DICOM_List& record);
    void Push(Nesting::Kind kind, const DICOM_List& record, unsigned char mode);
    void Pop();
    void Pop_Unclosed();
    void Leave_Ended_Levels();
    void Report_Open_Levels();
    bool Only_Zeros_Follow();
    std::int64_t Find_Last_Nonzero() const;

    bool Inside(Nesting::Kind kind) const
    {
        return !levels_.empty() && levels_.back().kind == kind;
    }
    unsigned char Mode() const
    {
        return levels_.empty() ? mode_ : levels_.back().mode;
    }

    std::shared_ptr<Source> source_;
    Cursor cursor_;
    Findings& findings_;
    unsigned char mode_;
    std::int64_t position_;
    /** Place of the last byte of the source that is not zero, found when first asked for. */
    std::int64_t last_nonzero_ = Not_Looked_For;
    DICOM_Root root_ = {};
    Record_List flat_;
    std::vector<Nesting> levels_;
    Memory_Budget budget_;
    /** Open sequences and fragments, now and at the most. */
    int depth_ = 0;
    int deepest_ = 0;

    static constexpr std::int64_t Not_Looked_For = -2;
};

}  // namespace lib_mend

#endif
