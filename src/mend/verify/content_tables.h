// What content items a document may hold, and how they may be related (PS3.3 sections A.35 and C.17.3).
#ifndef LIB_MEND_CONTENT_TABLES_H
#define LIB_MEND_CONTENT_TABLES_H

#include <string_view>

namespace lib_mend {

inline constexpr std::string_view Basic_Text = "1.2.840.10008.5.1.4.1.1.88.11";
inline constexpr std::string_view Enhanced = "1.2.840.10008.5.1.4.1.1.88.22";
inline constexpr std::string_view Comprehensive = "1.2.840.10008.5.1.4.1.1.88.33";
inline constexpr std::string_view Key_Objects = "1.2.840.10008.5.1.4.1.1.88.59";
inline constexpr std::string_view X_Ray_Dose = "1.2.840.10008.5.1.4.1.1.88.67";

/** Documents whose items are related by value only (PS3.3 sections A.35.1, A.35.2, A.35.4). */
inline constexpr std::string_view By_Value_Only[] = {Basic_Text, Enhanced, Key_Objects};

/** The value types of a document; blanks around each. */
struct Type_Row {
    std::string_view document;
    std::string_view types;
    const char* clause;
};
/** Those that any document has; others are no value types. */
inline constexpr std::string_view All_Value_Types =
    " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME SCOORD SCOORD3D TCOORD COMPOSITE IMAGE "
    "WAVEFORM "
    "CONTAINER TABLE ";

/** The definition files have those of Basic Text and Enhanced SR. */
inline constexpr Type_Row Value_Types[] = {
    {Comprehensive,
     " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME SCOORD TCOORD COMPOSITE IMAGE WAVEFORM "
     "CONTAINER TABLE ",
     "PS3.3 A.35.3.3.1"},
    {Key_Objects, " TEXT CODE UIDREF PNAME COMPOSITE IMAGE WAVEFORM CONTAINER ",
     "PS3.3 A.35.4.3.1"},
    {X_Ray_Dose,
     " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME COMPOSITE IMAGE WAVEFORM CONTAINER ",
     "PS3.3 A.35.8.3.1"},
};

/** The relationships that a document has; blanks and bars around each. */
struct Relation_Row {
    std::string_view document;
    std::string_view relations;
    const char* clause;
};
inline constexpr std::string_view All_Relations =
    "|CONTAINS|HAS OBS CONTEXT|HAS ACQ CONTEXT|HAS CONCEPT MOD|HAS PROPERTIES|INFERRED FROM|"
    "SELECTED FROM|";
/** Documents that have all of them are left out. */
inline constexpr Relation_Row Relations[] = {
    {Basic_Text,
     "|CONTAINS|HAS OBS CONTEXT|HAS ACQ CONTEXT|HAS CONCEPT MOD|HAS PROPERTIES|INFERRED FROM|",
     "PS3.3 A.35.1.3.1"},
    {Key_Objects, "|CONTAINS|HAS OBS CONTEXT|HAS CONCEPT MOD|", "PS3.3 A.35.4.3.1"},
    {X_Ray_Dose,
     "|CONTAINS|HAS OBS CONTEXT|HAS ACQ CONTEXT|HAS CONCEPT MOD|HAS PROPERTIES|INFERRED FROM|",
     "PS3.3 A.35.8.3.1"},
};

/** Where a relationship may start, and where it may lead; all rows that fit hold together. */
struct Source_Row {
    /** Empty for all documents. */
    std::string_view document;
    std::string_view relation;
    std::string_view sources;
    const char* clause;
};
struct Target_Row {
    std::string_view document;
    std::string_view relation;
    /** The value type that it starts at; empty for any. */
    std::string_view source;
    std::string_view targets;
    const char* clause;
};

inline constexpr std::string_view Said = " TEXT CODE DATETIME DATE TIME UIDREF PNAME ";
inline constexpr std::string_view Said_Or_Measured =
    " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME ";
inline constexpr std::string_view No_Evidence =
    " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME CONTAINER ";

/**
 * The tables of single documents are given as far as they say the same in every edition: whether a table
 * leaves out what another one has is open where editions differ. HAS CONCEPT MOD starts anywhere.
 */
inline constexpr Source_Row Sources[] = {
    {{}, "CONTAINS", " CONTAINER ", "PS3.3 C.17.3"},
    {{}, "SELECTED FROM", " SCOORD SCOORD3D TCOORD ", "PS3.3 C.17.3"},
    {Basic_Text, "HAS OBS CONTEXT", " CONTAINER ", "PS3.3 A.35.1.3.1"},
    {Basic_Text, "HAS ACQ CONTEXT", " CONTAINER IMAGE WAVEFORM COMPOSITE ", "PS3.3 A.35.1.3.1"},
    {Basic_Text, "HAS PROPERTIES", Said, "PS3.3 A.35.1.3.1"},
    {Basic_Text, "INFERRED FROM", Said, "PS3.3 A.35.1.3.1"},
    {Enhanced, "HAS OBS CONTEXT", " CONTAINER TEXT CODE NUM ", "PS3.3 A.35.2.3.1"},
    {Enhanced, "HAS ACQ CONTEXT", " CONTAINER IMAGE WAVEFORM COMPOSITE NUM ", "PS3.3 A.35.2.3.1"},
    {Enhanced, "HAS PROPERTIES", Said_Or_Measured, "PS3.3 A.35.2.3.1"},
    {Enhanced, "INFERRED FROM", Said_Or_Measured, "PS3.3 A.35.2.3.1"},
    {Comprehensive, "HAS OBS CONTEXT", " CONTAINER TEXT CODE NUM ", "PS3.3 A.35.3.3.1"},
    {Comprehensive, "HAS ACQ CONTEXT", " CONTAINER IMAGE WAVEFORM COMPOSITE NUM ",
     "PS3.3 A.35.3.3.1"},
    {Comprehensive, "HAS PROPERTIES", No_Evidence, "PS3.3 A.35.3.3.1"},
    {Comprehensive, "INFERRED FROM", No_Evidence, "PS3.3 A.35.3.3.1"},
    {Key_Objects, "HAS OBS CONTEXT", " CONTAINER ", "PS3.3 A.35.4.3.1"},
    {X_Ray_Dose, "HAS OBS CONTEXT", " CONTAINER TEXT CODE NUM ", "PS3.3 A.35.8.3.1"},
    {X_Ray_Dose, "HAS ACQ CONTEXT", " CONTAINER IMAGE WAVEFORM COMPOSITE NUM ", "PS3.3 A.35.8.3.1"},
    {X_Ray_Dose, "HAS PROPERTIES", No_Evidence, "PS3.3 A.35.8.3.1"},
    {X_Ray_Dose, "INFERRED FROM", No_Evidence, "PS3.3 A.35.8.3.1"},
};
inline constexpr Target_Row Targets[] = {
    {{},
     "HAS OBS CONTEXT",
     {},
     " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME COMPOSITE CONTAINER ",
     "PS3.3 C.17.3"},
    {{}, "HAS CONCEPT MOD", {}, " TEXT CODE ", "PS3.3 C.17.3"},
    {{},
     "HAS ACQ CONTEXT",
     {},
     " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME CONTAINER ",
     "PS3.3 C.17.3"},
    {{}, "SELECTED FROM", {}, " IMAGE WAVEFORM SCOORD SCOORD3D COMPOSITE ", "PS3.3 C.17.3"},
    {{}, "SELECTED FROM", "SCOORD", " IMAGE ", "PS3.3 C.17.3"},
    {{}, "SELECTED FROM", "TCOORD", " IMAGE WAVEFORM SCOORD SCOORD3D ", "PS3.3 C.17.3"},
    {Basic_Text,
     "HAS PROPERTIES",
     {},
     " TEXT CODE DATETIME DATE TIME UIDREF PNAME IMAGE WAVEFORM "
     "COMPOSITE ",
     "PS3.3 A.35.1.3.1"},
    {Basic_Text,
     "INFERRED FROM",
     {},
     " TEXT CODE DATETIME DATE TIME UIDREF PNAME IMAGE WAVEFORM "
     "COMPOSITE ",
     "PS3.3 A.35.1.3.1"},
    {Comprehensive, "HAS PROPERTIES", "PNAME", Said_Or_Measured, "PS3.3 A.35.3.3.1"},
    {Key_Objects, "CONTAINS", {}, " TEXT IMAGE WAVEFORM COMPOSITE ", "PS3.3 A.35.4.3.1"},
    {Key_Objects, "HAS OBS CONTEXT", {}, Said_Or_Measured, "PS3.3 A.35.4.3.1"},
    {X_Ray_Dose, "HAS PROPERTIES", "PNAME", Said_Or_Measured, "PS3.3 A.35.8.3.1"},
};

}  // namespace lib_mend

#endif
