// The directory, the index and the module lists as clients ask for them.
#include "attributes/list/attribute_lists.h"
#include "definitions/definitions.h"
#include "definitions/module_reader.h"
#include "dictionary/dictionary.h"
#include "frame/report.h"

#include <Lib_DICOM/definitions.h>
#include <Lib_DICOM/dictionary.h>

#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

/** The lines of `DICOM_Override`, and where they come from. */
struct Override {
    std::string file;
    std::string text;
};

bool Read_Override(HWND handle, Override& lines)
{
    if (DICOM_Override == nullptr || *DICOM_Override == '\0') {
        return true;
    }
    const std::string_view setting = DICOM_Override;
    const bool is_text = setting.find('\n') != setting.npos || setting[0] == '(' ||
                         setting[0] == '>' || setting[0] == '#';
    if (is_text) {
        lines = {"DICOM_Override", std::string(setting)};
        return true;
    }
    std::string why;
    lines.file = setting;
    if (!Read_Text_File(Narrow_Path(lines.file), Max_Definition_File, lines.text, why)) {
        Report_Definition_Error(handle, This_Unit, "DICOM_Override: " + why);
        return false;
    }
    Drop_Mark(lines.text);
    return true;
}

/** A field of a line of the index, "-" for none. */
std::string_view Index_Field(Line_Cursor& cursor, const char* what, std::string_view allowed)
{
    cursor.At_End();
    const std::size_t column = cursor.Column();
    const std::string_view word = cursor.Word();
    if (word.empty() || (word != "-" && word.find_first_not_of(allowed) != word.npos)) {
        cursor.Expected(This_Unit, what, column);
    }
    return word;
}

void Read_Index_Line(Line_Cursor& cursor, Module_Index& index)
{
    constexpr std::string_view Capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    cursor.Check();
    cursor.At_End();
    const std::size_t column = cursor.Column();
    const std::string code(cursor.Word());
    if (!Is_Definition_Name(code) || code.find('/') != code.npos) {
        cursor.Expected(This_Unit, "the code of an IOD", column);
    }
    const std::string_view modality = Index_Field(cursor, "a modality or -", Capitals);
    std::string_view uids = Index_Field(cursor, "UIDs with | between them, or -", "0123456789.|");
    cursor.Quoted("a title");
    cursor.Expect_End();
    // Longer modalities have no place in the setting DICOM_Modality.
    if (modality.size() == 2) {
        index.by_modality.emplace(DICOM_VR(modality[0], modality[1]), code);
    }
    while (!uids.empty() && uids != "-") {
        const std::size_t end = std::min(uids.find('|'), uids.size());
        index.by_uid.emplace(uids.substr(0, end), code);
        uids.remove_prefix(std::min(end + 1, uids.size()));
    }
}

/** The index, read once; null after the message when there is no directory. */
const Module_Index* Get_Index(HWND handle)
{
    Definitions& definitions = Get_Definitions();
    if (definitions.index) {
        return &*definitions.index;
    }
    std::string why;
    const Definition_File* const file = definitions.files.Load("iods/index", why);
    if (file == nullptr) {
        Report_Definition_Error(handle, This_Unit, why);
        if (definitions.files.Directory(why).empty()) {
            return nullptr;
        }
    }
    Module_Index index;
    if (file != nullptr) {
        Reading(handle).Lines(file->path, file->text,
                              [&](Line_Cursor& cursor) { Read_Index_Line(cursor, index); });
    }
    return &definitions.index.emplace(std::move(index));
}

template <class Map, class Key>
const char* Look_Up(const Map& map, const Key& key)
{
    const auto found = map.find(key);
    return found == map.end() ? nullptr : found->second.c_str();
}

/** Dictionary entries live shorter than the lists that are kept. */
void Renew_Entries(DICOM_List* list)
{
    for (; list != nullptr; list = list->next) {
        list->dict = NEMA_db_Locate(list->group, list->element);
        if (list->nb_item > 0) {
            Renew_Entries(list->item[0]);
        }
    }
}

/** Reads a list anew; null after a message when there is none. */
List_Owner Read_List(HWND handle, const char* name, const Override& lines)
{
    struct Head {
        DICOM_List* list = nullptr;
        ~Head()
        {
            List_Deleter()(list);
        }
    } head;
    Definitions& definitions = Get_Definitions();
    Module_Reader reader(handle, definitions.files, &head.list, 0, definitions.rules);
    std::string why;
    if (name != nullptr && !reader.Read_File("iods/" + std::string(name), why)) {
        Report_Definition_Error(handle, This_Unit, why);
        return nullptr;
    }
    reader.Read_Text(lines.file, lines.text);
    reader.Sort();
    if (head.list == nullptr && !reader.Has_Faults()) {
        Report_Definition_Error(handle, This_Unit,
                                name != nullptr
                                    ? "the IOD " + Shown(name) + " has no attribute"
                                    : "neither an IOD nor DICOM_Override names attributes");
    }
    reader.Keep_Rules(definitions.rules);
    return List_Owner(std::exchange(head.list, nullptr));
}

/** The list that is kept of an IOD and the overriding lines; read when there is none. */
DICOM_List* Kept_List(HWND handle, const char* name, const Override& lines)
{
    Definitions& definitions = Get_Definitions();
    std::string why;
    // Names end where a NUL stands, so that no two lists share a key.
    std::string key = definitions.files.Directory(why).string();
    key.append(1, '\0').append(name != nullptr ? name : "").append(1, '\0');
    key.append(lines.file).append(1, '\0').append(lines.text);
    key += DICOM_Flag_Current_Standard != 0 ? '1' : '0';
    const auto found = definitions.lists.find(key);
    if (found != definitions.lists.end()) {
        Kept_Module& kept = found->second;
        if (std::exchange(kept.dictionary, Dictionary_Generation()) != Dictionary_Generation()) {
            Renew_Entries(kept.list.get());
        }
        return kept.list.get();
    }
    List_Owner list = Read_List(handle, name, lines);
    if (list == nullptr) {
        return nullptr;
    }
    Kept_Module kept = {std::move(list), Dictionary_Generation()};
    return definitions.lists.emplace(std::move(key), std::move(kept)).first->second.list.get();
}

/** The code of the IOD to read: the given one, or that of `DICOM_Modality`; false for none. */
bool Choose_Name(HWND handle, const char*& name)
{
    if (name != nullptr || DICOM_Modality == 0) {
        return true;
    }
    name = DICOM_Module_Name(handle, DICOM_Modality);
    if (name == nullptr) {
        const char modality[] = {static_cast<char>(DICOM_Modality >> 8),
                                 static_cast<char>(DICOM_Modality & 0xFF)};
        Report_Definition_Error(handle, This_Unit,
                                "iods/index.txt names no IOD of the modality " +
                                    Shown({modality, sizeof modality}));
    }
    return name != nullptr;
}

/** The list of an open item, or the list itself when the context has none open. */
DICOM_List** Open_List(HWND handle, DICOM_Root* root, DICOM_List** list)
{
    int depth = 0;
    while (list != nullptr && depth < root->Sequence_Depth && Is_Outer_List(handle, root, *list)) {
        list = DICOM_Attribute_Dig(handle, root, *list, 0);
        ++depth;
    }
    return depth == root->Sequence_Depth ? list : nullptr;
}

/** The record that the context remembers as the last line of a level, and those below. */
void Open_Remembered(Module_Reader& reader, const DICOM_Root& root, DICOM_List* list)
{
    for (int depth = root.Sequence_Depth; list != nullptr && depth < DICOM_Max_Depth; ++depth) {
        while (list != nullptr && (list->group != root.Sequence_Group[depth] ||
                                   list->element != root.Sequence_Element[depth])) {
            list = list->next;
        }
        reader.Open_Record(depth) = list;
        list = list != nullptr && list->nb_item > 0 ? list->item[0] : nullptr;
    }
}

/** Remembers the last line of each level. */
void Remember(HWND handle, Module_Reader& reader, DICOM_Root* root)
{
    for (int depth = root->Sequence_Depth; depth < DICOM_Max_Depth; ++depth) {
        const DICOM_List* const record = reader.Open_Record(depth);
        DICOM_Attribute_Sequence_Set(handle, root, depth, record != nullptr ? record->group : 0,
                                     record != nullptr ? record->element : 0, 0);
    }
}

}  // namespace

Definitions& lib_dicom::Get_Definitions()
{
    static Definitions definitions;
    return definitions;
}

const wchar_t* DICOM_Module_Setup(HWND handle, const wchar_t* directory)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Setup(%ls)", directory);
    return Guarded(handle, This_Unit, static_cast<const wchar_t*>(nullptr),
                   [&]() -> const wchar_t* {
                       Definitions& definitions = Get_Definitions();
                       std::string why;
                       if (directory != nullptr) {
                           if (!definitions.files.Set_Directory(Wide_Path(directory), why)) {
                               Report_Definition_Error(handle, This_Unit, why);
                               return trace.Leave(nullptr, "! directory");
                           }
                           definitions.Leave_Directory();
                       } else if (definitions.files.Directory(why).empty()) {
                           Report_Definition_Error(handle, This_Unit, why);
                           return trace.Leave(nullptr, "! directory");
                       }
                       return definitions.files.Wide_Directory().c_str();
                   });
}

DICOM_List* DICOM_Module_Read(HWND handle, const char* name)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Read(%hs)", name);
    return Guarded(handle, This_Unit, static_cast<DICOM_List*>(nullptr), [&]() -> DICOM_List* {
        DICOM_List* const none = nullptr;
        if (DICOM_Module_Setup(handle, nullptr) == nullptr) {
            return trace.Leave(none, "! directory");
        }
        if (!Choose_Name(handle, name)) {
            return trace.Leave(none, "! name");
        }
        Override lines;
        if (!Read_Override(handle, lines)) {
            return trace.Leave(none, "! DICOM_Override");
        }
        return Kept_List(handle, name, lines);
    });
}

int DICOM_Module_Read_Line(HWND handle, DICOM_Root* root, DICOM_List** list, const char* line)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Read_Line()");
    if (line == nullptr) {
        return trace.Leave(0, "! line");
    }
    return Guarded(handle, This_Unit, 0, [&] {
        DICOM_List** const open = Open_List(handle, root, list);
        if (open == nullptr) {
            Report_Definition_Error(handle, This_Unit,
                                    "the list does not hold the sequence that is open");
            return trace.Leave(0, "! list");
        }
        // The records are the caller's, and nothing tells when they end: rules are not kept for them.
        Rule_Store unused;
        Module_Reader reader(handle, Get_Definitions().files, open, root->Sequence_Depth, unused);
        Open_Remembered(reader, *root, *open);
        reader.Read_Text("line", line);
        Remember(handle, reader, root);
        reader.Sort();
        return reader.Has_Faults() ? trace.Leave(0, "! line") : 1;
    });
}

const char* DICOM_Module_Name(HWND handle, unsigned short modality)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Name(%04x)", modality);
    return Guarded(handle, This_Unit, static_cast<const char*>(nullptr), [&]() -> const char* {
        const Module_Index* const index = Get_Index(handle);
        return index != nullptr ? Look_Up(index->by_modality, modality) : nullptr;
    });
}

const char* DICOM_Module_Name(HWND handle, const char* sop_class_uid)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Name(%hs)", sop_class_uid);
    if (sop_class_uid == nullptr) {
        return trace.Leave<const char*>(nullptr, "! sop_class_uid");
    }
    return Guarded(handle, This_Unit, static_cast<const char*>(nullptr), [&]() -> const char* {
        const Module_Index* const index = Get_Index(handle);
        return index != nullptr ? Look_Up(index->by_uid, std::string_view(sop_class_uid)) : nullptr;
    });
}

const char* DICOM_Module_Include_Get(HWND handle, const char* name)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Include_Get(%hs)", name);
    if (name == nullptr) {
        return trace.Leave<const char*>(nullptr, "! name");
    }
    return Guarded(handle, This_Unit, static_cast<const char*>(nullptr), [&]() -> const char* {
        std::string why;
        const Definition_File* const file = Get_Definitions().files.Load(name, why);
        if (file == nullptr) {
            Report_Definition_Error(handle, This_Unit, why);
            return nullptr;
        }
        return file->text.c_str();
    });
}

void DICOM_Module_Free(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Module_Free()");
    Get_Definitions().lists.clear();
    Get_Definitions().rules = Rule_Store();
    Get_Definitions().files.Free();
}

void DICOM_Module_Cleanup(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Module_Cleanup()");
    Get_Definitions().Leave_Directory();
    Get_Definitions().files.Leave_Directory();
}
