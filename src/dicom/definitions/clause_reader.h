// Reads what a line of a definition file says behind the mark: conditions, values, counts of items.
#ifndef LIB_DICOM_SRC_DEFINITIONS_CLAUSE_READER_H
#define LIB_DICOM_SRC_DEFINITIONS_CLAUSE_READER_H

#include "definitions/definition_text.h"
#include "definitions/rule_store.h"

#include <span>
#include <vector>

namespace lib_dicom {

class Clause_Reader {
public:
    Clause_Reader(Line_Cursor& cursor, Rule_Arena& arena) : cursor_(cursor), arena_(arena)
    {
    }

    /**
     * Reads clauses up to the end of the line.
     *
     * @param expected  what may stand at its beginning
     * @param vr        of the attribute, which its values have to fit
     * @param group     of the attribute
     */
    Clauses Read(const char* expected, unsigned short vr, unsigned short group);
    /** Reads the condition that begins at the cursor. */
    DICOM_Condition Read_Condition();

private:
    void Read_Otherwise(Clauses& clauses);
    DICOM_Value_Set Read_Values(bool is_extensible, unsigned short vr);
    DICOM_Item_Count Read_Items();
    DICOM_Condition Read_When();

    void Read_Sum();
    void Read_Product();
    void Read_Factor();
    void Read_Class();
    void Read_Test();
    void Read_Comparison(DICOM_Step& step);
    void Read_Operand(DICOM_Step& step);
    unsigned int Read_Tag();
    /** @param number  of a group that repeats, and the word for it */
    void Check_Repeating(unsigned short number, std::string_view word, std::size_t column) const;
    bool Read_State(DICOM_Step& step);
    bool Read_Relation(DICOM_Step::Relation& relation);
    long long Read_Number(const char* what);
    unsigned short Read_Value_Number();
    /** A text in quotes that fits one of some VRs at least; any where there are none. */
    const char* Read_Compared(const char* what, std::span<const unsigned short> vrs);
    void Put(DICOM_Step::Kind kind);

    Line_Cursor& cursor_;
    Rule_Arena& arena_;
    /** The steps of the condition in hand. */
    std::vector<DICOM_Step> steps_;
    int depth_ = 0;
    /** Of the attribute that the line is about; 0 where it is about none. */
    unsigned short group_ = 0;
};

}  // namespace lib_dicom

#endif
