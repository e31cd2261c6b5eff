// Writing of a data set in groups, and the client's writers of pixel data.
#include "frame/report.h"
#include "write/stream_writer.h"

#include <algorithm>
#include <iterator>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Fct";

struct Image_Writers {
    DICOM_Image_Writer whole = nullptr;
    DICOM_Image_B_Writer piece = nullptr;
};

Image_Writers& Writers()
{
    static Image_Writers writers;
    return writers;
}

/** The even groups in front of the pixel data that a data set may carry; others are left out. */
constexpr unsigned short Standard_Groups[] = {
    0x0008, 0x0010, 0x0012, 0x0018, 0x0020, 0x0024, 0x0028, 0x0032, 0x0038, 0x003A, 0x0040,
    0x0050, 0x0054, 0x0060, 0x0062, 0x0066, 0x0070, 0x0088, 0x0100, 0x0400, 0x2000, 0x2010,
    0x2020, 0x2030, 0x2040, 0x2050, 0x2100, 0x2110, 0x2120, 0x2130, 0x2200, 0x3002, 0x3004,
    0x3006, 0x3008, 0x300A, 0x300C, 0x300E, 0x4000, 0x4008, 0x5200, 0x5400, 0x5600};
/** The same of repeating groups, which differ in the low byte. */
constexpr unsigned short Repeating_Groups[] = {0x5000, 0x6000};

struct Group_Range {
    unsigned short first;
    unsigned short last;
};

/** One piece of a data set: the groups that it visits, and those of them that it writes. */
struct Phase {
    Group_Range groups;
    bool (*writes)(unsigned short group);
};

bool Is_Private(unsigned short group)
{
    return (group & 1) != 0;
}

bool Is_Standard(unsigned short group)
{
    const auto is_one_of = [](const auto& groups, unsigned int wanted) {
        return std::find(std::begin(groups), std::end(groups), wanted) != std::end(groups);
    };
    return is_one_of(Standard_Groups, group) || is_one_of(Repeating_Groups, group & 0xFF00U);
}

bool Writes_Before_Pixels(unsigned short group)
{
    return Is_Private(group) ? Flag_DICOM_Propriatery != 0 : Is_Standard(group);
}

bool Writes_Before_Pixels_Current(unsigned short group)
{
    return Is_Private(group) ? Flag_DICOM_Propriatery != 0 : group != 0x0002;
}

bool Writes_After_Pixels(unsigned short group)
{
    return !Is_Private(group) || Flag_DICOM_Propriatery != 0;
}

Phase Phase_A()
{
    return DICOM_Flag_Current_Standard != 0 ? Phase{{0x0001, 0x7FDF}, &Writes_Before_Pixels_Current}
                                            : Phase{{0x0008, 0x7F00}, &Writes_Before_Pixels};
}

constexpr Phase Phase_C = {{0x7FF0, 0x7FFF}, &Writes_After_Pixels};

bool Has_Group(const DICOM_List* list, unsigned short group)
{
    return list != nullptr && list->group == group;
}

/**
 * Calls `visit(group, list)` for the groups of a phase in ascending order, each once. `list` starts
 * at the first record of the group or of a higher one: what stands before it would be skipped from
 * the head too, so that one walk does for all groups and for lists out of order.
 *
 * @param absent  visit groups that the list lacks as well
 */
template <class Visit>
void For_Each_Group(const Phase& phase, DICOM_List* list, bool absent, Visit visit)
{
    unsigned short group = phase.groups.first;
    while (group <= phase.groups.last) {
        while (list != nullptr && list->group < group) {
            list = list->next;
        }
        if (!absent && !Has_Group(list, group)) {
            if (list == nullptr) {
                return;
            }
            group = list->group;
            continue;
        }
        if (phase.writes(group)) {
            visit(group, list);
        }
        ++group;
    }
}

/** Output of one exported call. */
class Data_Set_Writer {
public:
    /** @param name  the exported function, for the traces */
    Data_Set_Writer(HWND handle, const char* name, char code, DICOM_List* list, char** buffer)
        : handle_(handle), name_(name), code_(code), list_(list), buffer_(*buffer)
    {
    }

    /** Appends the groups of a phase. Returns false after a message. */
    bool Groups(const Phase& phase)
    {
        return Guarded(handle_, This_Unit, false, [&] {
            if (!Resize_Output(handle_, buffer_, total_ + Size(phase))) {
                return false;
            }
            // Groups that the list lacks leave nothing but a line of the trace.
            const bool is_traced = Error_Wanted(Trace_Writer) != 0;
            For_Each_Group(phase, list_, is_traced,
                           [this](unsigned short group, DICOM_List* list) { Group(group, list); });
            return true;
        });
    }

    /** Appends the pixel data. Returns false after a message. */
    bool Pixels(DICOM_Image_Writer writer, void* param);

    unsigned int Total() const
    {
        return static_cast<unsigned int>(total_);
    }

private:
    long long Size(const Phase& phase)
    {
        long long size = 0;
        For_Each_Group(phase, list_, false, [&](unsigned short group, DICOM_List* list) {
            size += Lead(group, list) + Group_Size(handle_, group, code_, list);
        });
        return size;
    }
    /** Room that the group length element takes. */
    static int Lead(unsigned short group, const DICOM_List* list)
    {
        return DICOM_Flag_Elem_0000 != 0 && Has_Group(list, group) ? Element_0000_Size : 0;
    }
    void Group(unsigned short group, DICOM_List* list);

    HWND handle_;
    const char* name_;
    char code_;
    DICOM_List* list_;
    char*& buffer_;
    int total_ = 0;
};

void Data_Set_Writer::Group(unsigned short group, DICOM_List* list)
{
    char* const at = buffer_ + total_;
    const int lead = Lead(group, list);
    const int bytes = DICOM_Write_Group(handle_, group, code_, list, at + lead);
    if (lead != 0) {
        DICOM_Write_Element_0000(handle_, group, code_, bytes, at);
    }
    total_ += lead + bytes;
    Trace(handle_, Trace_Writer, "-> %hs() group (%04x) = %d bytes tot, %d bytes data", name_,
          group, total_, bytes);
}

/** Says that the client has not registered a writer that is needed. */
void Warn_Of_Missing_Writer(HWND handle)
{
    Report_Warning(handle, "\361\005Warning:\002 Write Image call back undefined!");
}

/** Calls a writer of the client's. What it throws must not cross the interface. */
template <class Writer, class... Args>
int Call_Writer(HWND handle, Writer writer, Args... args)
{
    return Guarded(
        handle, This_Unit, -1, [&] { return writer(handle, args...); }, "*buffer");
}

bool Is_Valid_Count(HWND handle, int count)
{
    if (count >= 0) {
        return true;
    }
    Report_Error(handle, This_Unit, "The writer of the pixel data failed and returned %d", count);
    return false;
}

bool Data_Set_Writer::Pixels(DICOM_Image_Writer writer, void* param)
{
    const int count = Call_Writer(handle_, writer, code_, Total(), &buffer_, param);
    if (!Is_Valid_Count(handle_, count) ||
        !Is_Writable_Size(handle_, static_cast<long long>(total_) + count)) {
        return false;
    }
    total_ += count;
    return true;
}

}  // namespace

int DICOM_Write_Image_Fct(DICOM_Image_Writer writer)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Write_Image_Fct()");
    Writers().whole = writer;
    return 1;
}

int DICOM_Write_Image_B_Fct(DICOM_Image_B_Writer writer)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Write_Image_B_Fct()");
    Writers().piece = writer;
    return 1;
}

unsigned int DICOM_Write_Buffer(HWND handle, char code, DICOM_List* list, char** buffer,
                                void* param)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Write_Buffer()");
    Data_Set_Writer writer(handle, "DICOM_Write_Buffer", code, list, buffer);
    if (!writer.Groups(Phase_A())) {
        return trace.Leave(0U, "! groups before the pixel data");
    }
    if (Writers().whole == nullptr) {
        Warn_Of_Missing_Writer(handle);
        return trace.Leave(0U, "! image writer");
    }
    if (!writer.Pixels(Writers().whole, param)) {
        return trace.Leave(0U, "! pixel data");
    }
    if (!writer.Groups(Phase_C)) {
        return trace.Leave(0U, "! groups after the pixel data");
    }
    return writer.Total();
}

unsigned int DICOM_Write_Buffer_A(HWND handle, char code, DICOM_List* list, char** buffer, void*)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Write_Buffer_A()");
    Data_Set_Writer writer(handle, "DICOM_Write_Buffer_A", code, list, buffer);
    return writer.Groups(Phase_A()) ? writer.Total() : trace.Leave(0U, "! *buffer");
}

unsigned int DICOM_Write_Buffer_B(HWND handle, char code, char** buffer, int first, int second,
                                  void* param)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Write_Buffer_B(%d,%d)", first, second);
    if (Writers().piece == nullptr) {
        Warn_Of_Missing_Writer(handle);
        return trace.Leave(0U, "! image writer");
    }
    const int count = Call_Writer(handle, Writers().piece, code, buffer, first, second, param);
    return Is_Valid_Count(handle, count) ? static_cast<unsigned int>(count)
                                         : trace.Leave(0U, "! pixel data");
}

unsigned int DICOM_Write_Buffer_C(HWND handle, char code, DICOM_List* list, char** buffer, void*)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Write_Buffer_C()");
    Data_Set_Writer writer(handle, "DICOM_Write_Buffer_C", code, list, buffer);
    return writer.Groups(Phase_C) ? writer.Total() : trace.Leave(0U, "! *buffer");
}
