/**
 * @file values.h
 * Value types: person names, dates and times of day, made from components or from text, brought to
 * and from their DICOM form (PS3.5 section 6.2), shown to people, compared, copied and released.
 *
 * A record belongs to the client, the strings in it come from the C heap and belong to the record.
 * Zeroed memory is the valid record of an unset value. A function that makes a value releases what
 * its record held before; its arguments may be strings of that same record. When it fails, the
 * record is left unset. A null record is taken as an unset one.
 *
 * Formatted texts are the library's: each stays valid until sixteen more were formatted, or until
 * DICOM_Lib_Cleanup. An unset value gives an empty text, null means that there was no memory.
 *
 * Text is taken byte for byte whatever its character set and the process's locale are; only ASCII
 * letters have a case. No function of this family has a window handle: they report through `hwnd`.
 */
#ifndef LIB_DICOM_VALUES_H
#define LIB_DICOM_VALUES_H

#include <Lib_DICOM/frame.h>

/* ---- person names ---- */

/** A person's name. An empty component is null or an empty text. */
struct OrisWare_Name {
    /** 1 when the record holds a name, else 0. */
    unsigned char defined;
    char* family;
    char* given;
    char* middle;
    char* prefix;
    char* suffix;
};

/**
 * Makes a name of copies of its components, each of which may be null.
 *
 * @return 1; 0 without memory
 */
LIB_DICOM_API int Make_Oris_Name(OrisWare_Name* name, const char* family, const char* given,
                                 const char* middle, const char* prefix, const char* suffix);

/**
 * Makes a name of one value of VR PN, "family^given^middle^prefix^suffix". Of several component
 * groups ("alphabetic=ideographic=phonetic") the first that is not empty is taken; components
 * behind the fifth, and blanks around components, are dropped.
 *
 * @return 1; 0 when the text holds no name, or without memory
 */
LIB_DICOM_API int Name_From_DICOM(OrisWare_Name* name, const char* text);

/** The value for VR PN: components as they are, trailing empty ones dropped. */
LIB_DICOM_API const char* Name_2_DICOM(const OrisWare_Name* name);
/** The form for people: "Prefix Given Middle Family, Suffix". */
LIB_DICOM_API const char* Name_2_Str(const OrisWare_Name* name);

/**
 * Compares two names component by component, family first: without regard to the case of ASCII
 * letters, then, when that makes no difference, byte by byte. Unset names come last.
 *
 * @return negative, 0 or positive
 */
LIB_DICOM_API int Oris_Name_Cmp(const OrisWare_Name* first, const OrisWare_Name* second);

/**
 * Removes the blanks around the components, and makes empty components null.
 *
 * @return 1; 0 when no component is left: the record is then unset
 */
LIB_DICOM_API int Oris_Name_Postproc(OrisWare_Name* name);

/** Makes `target` a copy, unset when `source` is. Returns 1; 0 without memory. */
LIB_DICOM_API int Name_Copy(OrisWare_Name* target, const OrisWare_Name* source);
/** Exchanges two records. */
LIB_DICOM_API void Name_Swap(OrisWare_Name* first, OrisWare_Name* second);
/** Releases the strings and leaves the record unset. */
LIB_DICOM_API void Name_Free(OrisWare_Name* name);

/* ---- dates ---- */

/** States of dates and times. */
inline constexpr unsigned char Oris_State_Unset = 0;
inline constexpr unsigned char Oris_State_Numeric = 1;
inline constexpr unsigned char Oris_State_Text = 2;

/** A date of the Gregorian calendar, of the years 1 to 9999. */
struct OrisWare_Date {
    /** In state text the two strings hold the value, and the numbers repeat it. */
    unsigned char state;
    unsigned short year;
    unsigned char month;
    unsigned char day;
    char* date_str;
    char* date_template;
};

/**
 * Makes a date of a text, and keeps text and template (state text).
 *
 * The template names each of year, month and day once, in any order; every other character stands
 * for itself, and letters of fields may be capitals. Digits are never fewer than the field has
 * letters. Blanks around the text are ignored.
 *
 *   yyyy  four digits                      mm         two digits
 *   yy    two digits, of 1960 to 2059      mmm, mmmm  English name of the month, full or of three
 *   dd    two digits                                  letters, in any case
 *
 * @return 1; 0 when the text does not fit the template or there is no such date, and without memory
 */
LIB_DICOM_API int Make_Oris_Date(OrisWare_Date* date, const char* text, const char* date_template);
/** Makes a date of numbers (state numeric). Returns 1; 0 when there is no such date. */
LIB_DICOM_API int Make_Oris_Date(OrisWare_Date* date, unsigned short year, unsigned short month,
                                 unsigned short day);
/**
 * Makes a numeric date of one value of VR DA: "yyyymmdd", or "yyyy.mm.dd" and "yymmdd" of older
 * files.
 *
 * @return 1; 0 when the text is no such date
 */
LIB_DICOM_API int Date_From_DICOM(OrisWare_Date* date, const char* text);

/**
 * The numbers of a date of either state. Each pointer may be null.
 *
 * @return 1; 0 when the record is unset or holds no possible date: nothing is stored then
 */
LIB_DICOM_API int Get_Oris_Date(const OrisWare_Date* date, unsigned short* year,
                                unsigned short* month, unsigned short* day);

/** The value for VR DA, "yyyymmdd". */
LIB_DICOM_API const char* Date_2_DICOM(const OrisWare_Date* date);
/**
 * The form for people: by a template, in which fields may be missing or stand repeatedly. Null or
 * a faulty template selects `Oris_Date_Template`, and when that is null or faulty "yyyy-mm-dd".
 * Names of months are English, "Jan" for mmm and "January" for mmmm.
 */
LIB_DICOM_API const char* Date_2_Str(const OrisWare_Date* date, const char* date_template);
/** The same by `Oris_Date_Template`. */
LIB_DICOM_API const char* Date_2_Str(const OrisWare_Date* date);

/** Negative, 0 or positive as the first date is earlier, the same or later. Unset dates come last.
 */
LIB_DICOM_API int Oris_Date_Cmp(const OrisWare_Date* first, const OrisWare_Date* second);

/** Makes a text date numeric. Returns 1; 0 when there is no possible date: the record is unset. */
LIB_DICOM_API int Oris_Date_Postproc(OrisWare_Date* date);

/** Makes `target` a copy, unset when `source` is. Returns 1; 0 without memory. */
LIB_DICOM_API int Date_Copy(OrisWare_Date* target, const OrisWare_Date* source);
/** Exchanges two records. */
LIB_DICOM_API void Date_Swap(OrisWare_Date* first, OrisWare_Date* second);
/** Releases the strings and leaves the record unset. */
LIB_DICOM_API void Date_Free(OrisWare_Date* date);

/** Number of a month, 1 to 12, from its English name (see Make_Oris_Date) or its number in one or
 * two digits; 0 when the text is neither. */
LIB_DICOM_API int Get_Month_From_Str(const char* text);
/** English name of a month, 1 to 12, a constant; null for other numbers. */
LIB_DICOM_API const char* Get_Month_From_Number(int month);

/* ---- times of day ---- */

/** A time of day: hour 0 to 23, minute 0 to 59, seconds from 0 to below 61 (60 is a leap second).
 */
struct OrisWare_Time {
    /** In state text the two strings hold the value, and the numbers repeat it. */
    unsigned char state;
    unsigned char hour;
    unsigned char minute;
    float seconds;
    char* time_str;
    char* time_template;
};

/**
 * Makes a time of a text, and keeps text and template (state text).
 *
 * The template has the fields hh, mm and ss, of two digits each, and a run of f for the fraction,
 * each once at most and in any order; every other character stands for itself, but a ':' accepts a
 * '.' as well. The fraction may have fewer digits than the run has letters. A text may end early,
 * behind any field, when what it lacks are the smaller units: those are 0. Blanks around the text
 * are ignored.
 *
 * @return 1; 0 when the text does not fit the template or there is no such time, and without memory
 */
LIB_DICOM_API int Make_Oris_Time(OrisWare_Time* time, const char* text, const char* time_template);
/** Makes a time of numbers (state numeric). Returns 1; 0 when there is no such time. */
LIB_DICOM_API int Make_Oris_Time(OrisWare_Time* time, unsigned short hour, unsigned short minute,
                                 float seconds);
/**
 * Makes a numeric time of one value of VR TM: "hhmmss.ffffff", or "hh:mm:ss.ffffff" of older files,
 * with trailing units missing or not.
 *
 * @return 1; 0 when the text is no such time
 */
LIB_DICOM_API int Time_From_DICOM(OrisWare_Time* time, const char* text);

/**
 * The numbers of a time of either state. Each pointer may be null.
 *
 * @return 1; 0 when the record is unset or holds no possible time: nothing is stored then
 */
LIB_DICOM_API int Get_Oris_Time(const OrisWare_Time* time, unsigned short* hour,
                                unsigned short* minute, float* seconds);

/** The value for VR TM: "hhmmss", with a fraction "hhmmss.fff". Rounding stays in the minute. */
LIB_DICOM_API const char* Time_2_DICOM(const OrisWare_Time* time);
/**
 * The form for people: by a template, in which fields may be missing or stand repeatedly. Null or
 * a faulty template selects `Oris_Time_Template`, and when that is null or faulty "hh:mm:ss", with
 * a fraction "hh:mm:ss.fff". The fraction is rounded to the digits of its field, within the minute.
 */
LIB_DICOM_API const char* Time_2_Str(const OrisWare_Time* time, const char* time_template);
/** The same by `Oris_Time_Template`. */
LIB_DICOM_API const char* Time_2_Str(const OrisWare_Time* time);

/** Negative, 0 or positive as the first time is earlier, the same or later; fractions count. Unset
 * times come last. */
LIB_DICOM_API int Oris_Time_Cmp(const OrisWare_Time* first, const OrisWare_Time* second);

/** Makes a text time numeric. Returns 1; 0 when there is no possible time: the record is unset. */
LIB_DICOM_API int Oris_Time_Postproc(OrisWare_Time* time);

/** Makes `target` a copy, unset when `source` is. Returns 1; 0 without memory. */
LIB_DICOM_API int Time_Copy(OrisWare_Time* target, const OrisWare_Time* source);
/** Exchanges two records. */
LIB_DICOM_API void Time_Swap(OrisWare_Time* first, OrisWare_Time* second);
/** Releases the strings and leaves the record unset. */
LIB_DICOM_API void Time_Free(OrisWare_Time* time);

/**
 * The current local date and time as numeric values, of one moment. Each pointer may be null.
 *
 * @return 1; 0 when the system gives no local time
 */
LIB_DICOM_API int Get_Oris_Now(OrisWare_Date* date, OrisWare_Time* time);

#endif
