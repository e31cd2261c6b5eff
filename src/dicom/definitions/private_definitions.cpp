#include "definitions/private_definitions.h"

#include "definitions/definitions.h"
#include "frame/record_codes.h"
#include "frame/report.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/definitions.h>

#include <algorithm>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

/** The tag of an element whatever block its creator has reserved. */
std::uint32_t Blockless(std::uint32_t tag)
{
    return tag & 0xFFFF00FFU;
}

/** A value multiplicity: "1", "1-3", "1-n", "2-2n". It is checked, but nothing needs it. */
bool Is_VM(std::string_view word)
{
    const auto is_number = [](std::string_view text) {
        return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    };
    const std::size_t hyphen = word.find('-');
    if (hyphen == word.npos) {
        return is_number(word);
    }
    std::string_view upper = word.substr(hyphen + 1);
    const bool is_open = upper.ends_with('n');
    upper.remove_suffix(is_open ? 1 : 0);
    return is_number(word.substr(0, hyphen)) && (is_number(upper) || (is_open && upper.empty()));
}

/** The tag "(gggg,xxee)" or "(gggg,bbee)" of a definition. */
std::uint32_t Read_Tag(Line_Cursor& cursor)
{
    const std::size_t column = cursor.Column();
    const std::string_view tag = cursor.Tag();
    const std::string_view block = tag.substr(6, 2);
    const bool any_block = block == "xx" || block == "XX";
    const auto group = Hex_Number(tag.substr(1, 4));
    const auto element = Hex_Number(tag.substr(any_block ? 8 : 6, any_block ? 2 : 4));
    constexpr unsigned short First_Element = 0x1000;
    if (!group || !element || *group % 2 == 0 || (!any_block && *element < First_Element)) {
        cursor.Expected(This_Unit, "the tag (gggg,xxee) of an attribute of an odd group", column);
    }
    return Tag_Number(*group, *element);
}

}  // namespace

void Private_Definitions::Read_Index_Line(Line_Cursor& cursor)
{
    cursor.Check();
    std::string creator = cursor.Quoted("a creator");
    cursor.At_End();
    const std::size_t column = cursor.Column();
    std::string name = "private/" + std::string(cursor.Word());
    if (!Is_Definition_Name(name)) {
        cursor.Expected(This_Unit, "the name of a file", column);
    }
    cursor.Expect_End();
    files_.insert_or_assign(std::move(creator), std::move(name));
}

void Private_Definitions::Read_Index(HWND handle, Definition_Files& files)
{
    // Without definition files every creator is unknown; that is no fault of the record in hand.
    has_index_ = true;
    std::string why;
    if (const Definition_File* const index = files.Load("private/index", why)) {
        Reading(handle).Lines(index->path, index->text,
                              [this](Line_Cursor& cursor) { Read_Index_Line(cursor); });
    }
}

void Private_Definitions::Read_Element(Line_Cursor& cursor, Elements& elements)
{
    const std::uint32_t tag = Read_Tag(cursor);
    cursor.At_End();
    std::size_t column = cursor.Column();
    const unsigned short vr = Read_VR(cursor, cursor.Word(), column);
    cursor.At_End();
    column = cursor.Column();
    if (!Is_VM(cursor.Word())) {
        cursor.Expected(This_Unit, "a number of values (1, 1-3, 1-n, ...)", column);
    }
    const Private_Element element{vr, cursor.Quoted("a name")};
    if (element.name.empty()) {
        throw Definition_Fault{This_Unit, cursor.Column() - 2, "expected a name that is not empty"};
    }
    cursor.Expect_End();
    elements.insert_or_assign(tag, element);
    if (tag != Blockless(tag)) {
        elements.emplace(Blockless(tag), element);
    }
}

void Private_Definitions::Read_Definitions(HWND handle, const std::string& name,
                                           const Definition_File& file)
{
    Elements* elements = nullptr;
    bool is_left_out = false;
    Reading(handle).Lines(file.path, file.text, [&](Line_Cursor& cursor) {
        if (cursor.Peek() == '(') {
            // The lines of a creator that is not known belong to its faulty line.
            if (is_left_out) {
                return;
            }
            cursor.Check();
            if (elements == nullptr) {
                cursor.Expected(This_Unit, "a line creator \"...\" first");
            }
            Read_Element(cursor, *elements);
            return;
        }
        elements = nullptr;
        is_left_out = true;
        cursor.Check();
        const std::size_t column = cursor.Column();
        if (cursor.Word() != "creator") {
            cursor.Expected(This_Unit, "\"creator\" or a tag (gggg,xxee)", column);
        }
        std::string creator = cursor.Quoted("a creator");
        cursor.Expect_End();
        const auto entry = files_.find(creator);
        if (entry == files_.end() || entry->second != name) {
            throw Definition_Fault{This_Unit, column,
                                   "private/index.txt does not name this file for the "
                                   "creator " +
                                       Shown(creator)};
        }
        elements = &creators_[std::move(creator)];
        is_left_out = false;
    });
}

const Private_Definitions::Elements*
Private_Definitions::Find_Creator(HWND handle, Definition_Files& files, std::string_view creator)
{
    if (!has_index_) {
        Read_Index(handle, files);
    }
    const auto known = creators_.find(creator);
    if (known != creators_.end()) {
        return &known->second;
    }
    return Read_Creator(handle, files, creator);
}

const Private_Definitions::Elements*
Private_Definitions::Read_Creator(HWND handle, Definition_Files& files, std::string_view creator)
{
    const auto entry = files_.find(creator);
    if (entry == files_.end()) {
        return nullptr;
    }
    const std::string name = entry->second;
    if (read_files_.insert(name).second) {
        std::string why;
        const Definition_File* const file = files.Load(name, why);
        if (file == nullptr) {
            Report_Definition_Error(handle, This_Unit, why);
            std::erase_if(files_, [&](const auto& other) { return other.second == name; });
            return nullptr;
        }
        Read_Definitions(handle, name, *file);
    }
    const auto found = creators_.find(creator);
    if (found == creators_.end()) {
        // Known from now on as one without elements, so that this is said once.
        creators_.emplace(creator, Elements());
        Report_Definition_Error(handle, This_Unit,
                                name + ".txt has no definitions of the creator " + Shown(creator));
        return nullptr;
    }
    return &found->second;
}

const Private_Element* Private_Definitions::Find(HWND handle, Definition_Files& files,
                                                 std::string_view creator, unsigned short group,
                                                 unsigned short element)
{
    // The elements of one creator are asked for one after the other.
    if (!has_last_ || creator != last_creator_) {
        has_last_ = false;
        last_elements_ = Find_Creator(handle, files, creator);
        last_creator_ = creator;
        has_last_ = true;
    }
    const Elements* const elements = last_elements_;
    if (elements == nullptr) {
        return nullptr;
    }
    const std::uint32_t tag = Tag_Number(group, element);
    auto found = elements->find(tag);
    if (found == elements->end()) {
        found = elements->find(Blockless(tag));
    }
    return found == elements->end() ? nullptr : &found->second;
}

int DICOM_Module_Read_Private(HWND handle, const char* creator, DICOM_List* record)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Read_Private(%04x,%04x)",
                      record->group, record->element);
    if (creator == nullptr) {
        return trace.Leave(0, "! creator");
    }
    return Guarded(handle, This_Unit, 0, [&] {
        Definitions& definitions = Get_Definitions();
        const Private_Element* const element = definitions.privates.Find(
            handle, definitions.files, creator, record->group, record->element);
        if (element == nullptr) {
            return trace.Leave(0, "! element");
        }
        const bool has_own_vr = record->vr != 0 && record->vr != VR_UN;
        const bool is_usable = Find_VR_Rule(element->vr) != nullptr;
        DICOM_Attribute_Complement_Tag(
            handle, record, has_own_vr || !is_usable ? 0 : element->vr, "%s",
            element->name == "Unknown" ? creator : element->name.c_str());
        return 1;
    });
}

void DICOM_Module_Free_Private(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Module_Free_Private()");
    Get_Definitions().privates = Private_Definitions();
}
