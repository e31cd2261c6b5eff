// What the handles of the C interface stand for, and what surrounds each of its calls.
#ifndef LIB_MEND_HANDLES_H
#define LIB_MEND_HANDLES_H

#include "mend/interface/element_value.h"
#include "mend/interface/options.h"

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

struct dicom_mend_session {
    lib_mend::Mend_Options options;
    lib_mend::Findings findings;
    /** How the last call ended, and why where more is known than its status. */
    dicom_mend_status status = DICOM_MEND_OK;
    std::string error;
};

struct dicom_mend_dataset {
    lib_mend::Data_Set set;
    mutable lib_mend::Value_Reader values{set};
    /** It was made by its user: that the file meta information is not there yet is no fault. */
    bool is_made = false;
};

namespace lib_mend {

/** One call at a time: the library below belongs to one thread at a time. */
std::recursive_mutex& Interface_Lock();

/** Why a call fails; thrown inside a call, and turned into its status. */
struct Failure {
    dicom_mend_status status;
    std::string reason;
};

/**
 * Runs the work of a call that has no session, by the current standard and with no message to anyone;
 * what it throws becomes a status.
 */
template <class Work>
dicom_mend_status Guarded(Work&& work) noexcept
{
    try {
        const std::lock_guard lock(Interface_Lock());
        Findings unheard;
        const Library_Session library(unheard);
        return work();
    } catch (const Failure& failure) {
        return failure.status;
    } catch (const std::bad_alloc&) {
        return DICOM_MEND_NO_MEMORY;
    } catch (...) {
        return DICOM_MEND_INTERNAL;
    }
}

/** What the last finding behind the first `before` ones tells of a failure; "" when none does. */
std::string Reason_In(const Findings& findings, std::size_t before);

/** The same with a session: messages of the library become findings, reasons of failures are kept. */
template <class Work>
dicom_mend_status With(dicom_mend_session* session, Work&& work) noexcept
{
    if (session == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    session->error.clear();
    session->status = Guarded([&] {
        const Library_Session library(session->findings);
        const std::size_t before = session->findings.All().size();
        dicom_mend_status status = DICOM_MEND_OK;
        try {
            status = work();
        } catch (Failure& failure) {
            session->error = std::move(failure.reason);
            status = failure.status;
        }
        session->findings.Settle_Errors();
        session->findings.Sum_Up();
        if (status != DICOM_MEND_OK && session->error.empty()) {
            session->error = dicom_mend_status_text(status) + Reason_In(session->findings, before);
        }
        return status;
    });
    return session->status;
}

/** What a call hands out is null or 0 unless it succeeds, whatever else is wrong with its arguments. */
template <class... Out>
void Clear(Out*... out)
{
    ((out != nullptr ? static_cast<void>(*out = Out{}) : static_cast<void>(0)), ...);
}

/** Writes a text as the interface promises, and returns its whole length. */
inline std::size_t Hand_Out(std::string_view text, char* buffer, std::size_t capacity)
{
    if (buffer != nullptr && capacity > 0) {
        const std::size_t size = std::min(text.size(), capacity - 1);
        std::copy_n(text.data(), size, buffer);
        buffer[size] = '\0';
    }
    return text.size();
}

/** A copy on the C heap with a NUL behind it. Throws std::bad_alloc. */
template <class Byte>
Byte* Copied_Out(const std::string& bytes)
{
    auto* const copy = static_cast<Byte*>(std::malloc(bytes.size() + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(copy, bytes.data(), bytes.size());
    copy[bytes.size()] = 0;
    return copy;
}

inline const Finding* Of(const dicom_mend_finding* finding)
{
    return reinterpret_cast<const Finding*>(finding);
}

/** Handles of elements and items are the records themselves; a const one is read only. */
inline DICOM_List* Of(const dicom_mend_element* element)
{
    return const_cast<DICOM_List*>(reinterpret_cast<const DICOM_List*>(element));
}

inline DICOM_List* Of(const dicom_mend_item* item)
{
    return const_cast<DICOM_List*>(reinterpret_cast<const DICOM_List*>(item));
}

inline const dicom_mend_element* Element(const DICOM_List* record)
{
    return reinterpret_cast<const dicom_mend_element*>(record);
}

inline const dicom_mend_item* Item(const DICOM_List* header)
{
    return reinterpret_cast<const dicom_mend_item*>(header);
}

/** The record or one behind it that is no header of an item. */
inline const DICOM_List* Past_Header(const DICOM_List* record)
{
    while (record != nullptr && Is_Delimiter(*record)) {
        record = record->next;
    }
    return record;
}

inline Tag Tag_Of_Number(uint32_t tag)
{
    return {static_cast<unsigned short>(tag >> 16), static_cast<unsigned short>(tag & 0xFFFF)};
}

inline bool Is_Delimiter_Tag(Tag tag)
{
    return tag.group == 0xFFFE;
}

inline uint32_t Number_Of(Tag tag)
{
    return uint32_t{tag.group} << 16 | tag.element;
}

}  // namespace lib_mend

#endif
