// The sequence tracker: which sequences a context has open, and which item of each is current.
#include "frame/report.h"

#include <Lib_DICOM/attributes.h>

#include <algorithm>

using namespace lib_dicom;

namespace {

constexpr int Deepest = DICOM_Max_Depth - 1;

bool Is_Depth(int depth)
{
    return depth >= 0 && depth <= Deepest;
}

/** Reports a banner line, indented by four blanks a level. */
template <class... Args>
void Banner(HWND handle, unsigned int trace, int depth, const char* text, Args... args)
{
    static constexpr char Blanks[] = "                                        ";
    static_assert(sizeof Blanks > 4 * Deepest);
    if (trace != 0 && Error_Wanted(trace) != 0) {
        const int used = 4 * std::clamp(depth, 0, Deepest);
        const char* const indent = Blanks + (sizeof Blanks - 1) - used;
        Error_Fct(handle, trace, text, indent, args...);
    }
}

/** Goes one level down; false when there is none below. */
bool Go_Down(DICOM_Root* root)
{
    const bool fits = root->Sequence_Depth < Deepest;
    root->Sequence_Depth = fits ? root->Sequence_Depth + 1 : Deepest;
    root->Item_Number[root->Sequence_Depth] = 0;
    return fits;
}

}  // namespace

void DICOM_Attribute_Sequence_Reset(HWND handle, DICOM_Root* root)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sequence_Reset()");
    *root = {};
}

int DICOM_Attribute_Sequence_Query(HWND handle, DICOM_Root* root)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sequence_Query()");
    return root->Sequence_Depth;
}

void DICOM_Attribute_Sequence_Set(HWND, DICOM_Root* root, int depth, unsigned short group,
                                  unsigned short element, unsigned short flags)
{
    if (Is_Depth(depth)) {
        root->Sequence_Group[depth] = group;
        root->Sequence_Element[depth] = element;
        root->Sequence_Flags[depth] = flags;
    }
}

void DICOM_Attribute_Sequence_Get(HWND handle, DICOM_Root* root, int depth, unsigned short* group,
                                  unsigned short* element, unsigned short* flags)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sequence_Get(%d)",
                            depth);
    const bool known = Is_Depth(depth);
    if (group != nullptr) {
        *group = known ? root->Sequence_Group[depth] : static_cast<unsigned short>(0);
    }
    if (element != nullptr) {
        *element = known ? root->Sequence_Element[depth] : static_cast<unsigned short>(0);
    }
    if (flags != nullptr) {
        *flags = known ? root->Sequence_Flags[depth] : static_cast<unsigned short>(0);
    }
}

int DICOM_Attribute_Sequence_Start(HWND handle, DICOM_Root* root, unsigned short group,
                                   unsigned short element, unsigned short flags, unsigned int trace)
{
    const Trace_Scope scope(handle, Trace_Entry,
                            "Lib_DICOM: DICOM_Attribute_Sequence_Start(%04x,%04x)", group, element);
    const int depth = root->Sequence_Depth;
    Banner(handle, trace, depth, "%hs------------------------ ---- Sequence in ----(depth=%d)-----",
           depth);
    DICOM_Attribute_Sequence_Set(handle, root, depth, group, element, flags);
    if (!Go_Down(root)) {
        Report_Warning(handle, "    \361\005WARNING:\002 To many \"sequences\" in DICOM stream");
    }
    return root->Sequence_Depth;
}

int DICOM_Attribute_Sequence_Start(HWND handle, DICOM_Root* root, unsigned int trace)
{
    const Trace_Scope scope(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sequence_Start()");
    const int depth = root->Sequence_Depth;
    Banner(handle, trace, depth, "%hs------------------------ ---- Sequence in ---------------");
    if (!Go_Down(root)) {
        Report_Warning(handle,
                       "    \361\005WARNING:\002 To many \"sequences\" in DICOM stream (%04x,%04x)",
                       root->Sequence_Group[depth], root->Sequence_Element[depth]);
    }
    return root->Sequence_Depth;
}

int DICOM_Attribute_Sequence_Stop(HWND handle, DICOM_Root* root, unsigned int trace)
{
    Trace_Scope scope(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sequence_Stop()");
    if (root->Sequence_Depth == 0) {
        Report_Warning(
            handle,
            "    \361\005WARNING:\002 To many \"out of sequences\" in DICOM stream (%04x,%04x)",
            root->Sequence_Group[0], root->Sequence_Element[0]);
        return scope.Leave(0, "! root->Sequence_Depth");
    }
    root->Item_Number[root->Sequence_Depth] = 0;
    --root->Sequence_Depth;
    Banner(handle, trace, root->Sequence_Depth,
           "%hs------------------------ ---- Sequence out --------------");
    return root->Sequence_Depth;
}

int DICOM_Attribute_Sequence_End(HWND handle, DICOM_Root* root)
{
    const Trace_Scope scope(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sequence_End()");
    const int depth = root->Sequence_Depth;
    if (depth != 0) {
        char missing[16];
        std::snprintf(missing, sizeof missing, "%d", depth);
        Report_Warning(
            handle,
            "    \361\005WARNING:\002 Missing at least %hs \"out of sequences\" in DICOM "
            "stream (%04x,%04x)",
            static_cast<const char*>(missing), root->Sequence_Group[depth],
            root->Sequence_Element[depth]);
    }
    root->Sequence_Depth = 0;
    return 0;
}

int DICOM_Attribute_Item_Start(HWND handle, DICOM_Root* root, unsigned int trace)
{
    const Trace_Scope scope(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Item_Start()");
    const int depth = root->Sequence_Depth;
    ++root->Item_Number[depth];
    Trace(handle, Trace_Entry, "-> root->Item_Number[%d] = %d", depth, root->Item_Number[depth]);
    Banner(handle, trace, depth, "%hs------------------------ ---- Item[%d] in ---------------",
           root->Item_Number[depth]);
    return 1;
}

int DICOM_Attribute_Item_Stop(HWND handle, DICOM_Root* root, unsigned int trace)
{
    const Trace_Scope scope(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Item_Stop()");
    const int depth = root->Sequence_Depth;
    Banner(handle, trace, depth, "%hs------------------------ ---- Item[%d] out --------------",
           root->Item_Number[depth]);
    return 1;
}

int DICOM_Attribute_Item_Query(HWND handle, DICOM_Root* root, int depth)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Item_Query(%d)",
                            depth);
    return Is_Depth(depth) ? root->Item_Number[depth] - 1 : -1;
}
