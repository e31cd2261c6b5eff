/**
 * @file rules.h
 * What definition files say of an attribute beyond its type, VR and value: when it is required and
 * when it is not allowed, which values it may have, how many items (PS3.5 section 7.4), and which
 * module says so. docs/definitions.md describes how the files write it.
 *
 * Everything that is handed out here belongs to the library and is valid as long as the list that
 * DICOM_Module_Read returned, until DICOM_Module_Free. Texts are UTF-8, as the files write them: tags
 * of VR AT are eight hexadecimal digits, with a comma or without.
 */
#ifndef LIB_DICOM_RULES_H
#define LIB_DICOM_RULES_H

#include <Lib_DICOM/frame.h>

/**
 * One step of a condition. The steps of a condition stand in the order in which they are evaluated
 * (postfix): a test gives a truth (true, false or unknown), `Not` turns the last one round, `And`
 * and `Or` join the last two.
 */
struct DICOM_Step {
    enum Kind : unsigned char {
        Always,
        Unknown, /**< cannot be told from a data set */
        Not,
        And,
        Or,
        Class,   /**< the SOP class is one of `texts` */
        Present, /**< the attribute is there, also without a value */
        Valued,  /**< it has a value; a sequence an item */
        Private, /**< a value of VR AT names a private attribute */
        Text, /**< a value equals one of `texts`, or with `Unequal`: there are values, but none does */
        Number, /**< a value compares with `number` */
        Count   /**< the number of values or items compares with `number`; it is 0 when absent */
    };
    enum Relation : unsigned char { Equal, Unequal, Greater, At_Least, Less, At_Most };
    /** Where the first tag is looked for. */
    enum Origin : unsigned char {
        Here, /**< in the item that holds the attribute, or `up` items further out */
        Top,  /**< at the top level of the data set; group 0002 in the file meta information */
        Frame /**< in the functional groups of the same frame (PS3.3 C.7.6.16), at any place in them */
    };

    Kind kind;
    Relation relation;
    Origin origin;
    unsigned short up;
    /** The value that is compared, from 1; 0 for any. */
    unsigned short value_number;
    /** Tags from the outermost sequence to the attribute, group in the upper 16 bits. The groups
     *  0x60FF and 0x50FF stand for the repeating group of the attribute that the rule is about. */
    int tag_count;
    const unsigned int* tags;
    int text_count;
    const char* const* texts;
    long long number;
};

/** A condition; one without steps says nothing. */
struct DICOM_Condition {
    int step_count;
    const DICOM_Step* steps;
    /** As the definition file writes it, of `text_size` bytes. */
    const char* text;
    int text_size;
};

/** A set of values that an attribute may have. Each set is to be met by itself. */
struct DICOM_Value_Set {
    /** The value that the set is for, from 1; 0 for each. */
    unsigned short value_number;
    /** Nonzero for defined terms, which anyone may extend; 0 for enumerated values. */
    unsigned char is_extensible;
    /** Nonzero when the standard has more values than the set names. */
    unsigned char has_more;
    int count;
    const char* const* values;
    /** When the set holds; without steps always. */
    DICOM_Condition when;
};

/** How many items a sequence may have. */
struct DICOM_Item_Count {
    int min;
    /** -1 for no limit. */
    int max;
    DICOM_Condition when;
};

/** What one module, or a line outside of all modules, says of an attribute. */
struct DICOM_Rule {
    /** What holds when the condition of type 1C or 2C does not. */
    enum Otherwise : unsigned char {
        Unsaid, /**< not allowed by PS3.5 section 7.4.2 */
        Free,
        Absent, /**< forbidden in so many words */
        Limited /**< allowed under `allowed` */
    };
    /** Index of the part (see DICOM_Module_Parts), -1 for a line outside of all. */
    int part;
    /** The type as the part gives it, in the coding of DICOM_List::type; 0 for none. */
    unsigned short type;
    /** Nonzero when the attribute stands at the level at which the part was included. */
    unsigned char is_own_level;
    Otherwise otherwise;
    /** When type 1C or 2C requires the attribute. */
    DICOM_Condition required;
    DICOM_Condition allowed;
    int value_set_count;
    const DICOM_Value_Set* value_sets;
    int item_count_count;
    const DICOM_Item_Count* item_counts;
    /** The definition file and its line, for messages. */
    const char* file;
    int line;
};

/** A module, or a macro that need not be there, as a definition file includes it. */
struct DICOM_Part {
    /** Its file below the definition directory, without ".txt". */
    const char* file;
    /** What messages call it; the file where it gives no name. */
    const char* name;
    /** 'M' mandatory, 'C' conditional, 'U' optional. */
    char usage;
    /** When usage C requires it. */
    DICOM_Condition required;
    /** The sequence whose item includes it; null for a module of the data set itself. */
    const DICOM_List* sequence;
    /** Index of the part whose file includes it, -1 for none. The condition of a part in a sequence or
     *  inside another part is one of the item in hand, but for functional groups; that of all others is
     *  one of the top level. */
    int outer;
};

/**
 * What the definition files say of the attribute of a module list.
 *
 * @param record  a record of a list that DICOM_Module_Read returned, at any level
 * @param rules   receives the first of the rules, in the order of the files
 * @return their number; 0 for a record of any other list
 */
LIB_DICOM_API int DICOM_Module_Rules(const DICOM_List* record, const DICOM_Rule** rules);

/**
 * The modules and macros that a module list was made of.
 *
 * @param list   what DICOM_Module_Read returned
 * @param parts  receives the first of them, in the order of the files
 * @return their number
 */
LIB_DICOM_API int DICOM_Module_Parts(const DICOM_List* list, const DICOM_Part** parts);

#endif
