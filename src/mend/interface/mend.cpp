#include "mend/interface/mend.h"

#include "mend/healing/repair.h"
#include "mend/interface/heal.h"
#include "mend/io/deflate.h"
#include "mend/writing/directory_offsets.h"
#include "mend/writing/file_meta.h"
#include "mend/writing/pixel_data.h"

#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace lib_mend {

namespace {

/** The last group that DICOM_Write_Buffer writes. */
constexpr unsigned short Last_Written_Group = 0x7FFF;

Encoding Output_Encoding(const Data_Set& set, Output_Syntax syntax)
{
    switch (syntax) {
    case Output_Syntax::Implicit_Little:
        return Encoding_Of(Implicit_Little_UID);
    case Output_Syntax::Explicit_Little:
        return Encoding_Of(Explicit_Little_UID);
    case Output_Syntax::Explicit_Big:
        return Encoding_Of(Explicit_Big_UID);
    case Output_Syntax::Keep:
        break;
    }
    Encoding encoding = set.encoding;
    if (encoding.encapsulated || encoding.deflated) {
        // Both exist in explicit VR little endian only (PS3.5 sections A.4 and A.5).
        encoding.explicit_vr = true;
        encoding.big_endian = false;
        encoding.deflated = encoding.deflated && !encoding.encapsulated;
    } else if (encoding.big_endian) {
        // There is no transfer syntax for implicit VR big endian.
        encoding.explicit_vr = true;
    }
    return encoding;
}

/** What the writer is told by settings, for the length of a scope. */
class Writer_Settings {
public:
    explicit Writer_Settings(const Mend_Options& options)
        : saved_private_(Flag_DICOM_Propriatery), saved_lengths_(DICOM_Flag_Elem_0000),
          saved_sizes_(DICOM_Flag_Seq_Size)
    {
        Flag_DICOM_Propriatery = 1;
        DICOM_Flag_Elem_0000 = options.group_lengths ? 1 : 0;
        DICOM_Flag_Seq_Size = options.defined_lengths ? 1 : 0;
        DICOM_Write_Image_Fct(&Write_Pixel_Data);
    }
    Writer_Settings(const Writer_Settings&) = delete;
    Writer_Settings& operator=(const Writer_Settings&) = delete;
    ~Writer_Settings()
    {
        Flag_DICOM_Propriatery = saved_private_;
        DICOM_Flag_Elem_0000 = saved_lengths_;
        DICOM_Flag_Seq_Size = saved_sizes_;
        DICOM_Write_Image_Fct(nullptr);
    }

private:
    char saved_private_;
    char saved_lengths_;
    char saved_sizes_;
};

/** First record beyond the groups that the writer knows: private groups above 7FFF. */
DICOM_List* Tail_Of(const Data_Set& set)
{
    DICOM_List* record = set.records.Head();
    while (record != nullptr && record->group <= Last_Written_Group) {
        record = record->next;
    }
    return record;
}

bool Append_Tail(const Data_Set& set, char code, Encoded_File& out)
{
    DICOM_List* const tail = Tail_Of(set);
    if (tail == nullptr) {
        return true;
    }
    char* bytes = nullptr;
    const int size = DICOM_List2Stream(nullptr, code, tail, &bytes);
    const std::int64_t total = static_cast<std::int64_t>(out.body_size) + size;
    void* const body = size > 0 && total <= Max_File_Size
                           ? std::realloc(out.body, static_cast<std::size_t>(total))
                           : nullptr;
    const bool fits = body != nullptr;
    if (fits) {
        out.body = static_cast<char*>(body);
        std::copy(bytes, bytes + size, out.body + out.body_size);
        out.body_size = static_cast<unsigned int>(total);
    }
    DICOM_Lib_Free(&bytes);
    return fits;
}

/** True when the list holds anything that DICOM_Write_Buffer writes. */
bool Has_Body(const Data_Set& set)
{
    return set.records.Head() != nullptr && set.records.Head()->group <= Last_Written_Group;
}

/** What the callback for the pixel data threw on its way through the library. */
void Pass_On(const Pixel_Job& job)
{
    if (job.failure == nullptr) {
        return;
    }
    try {
        std::rethrow_exception(job.failure);
    } catch (const std::length_error& error) {
        job.findings.Add(Level::Error, Pixel_Data_Tag, Finding::Nowhere, error.what());
    }
}

bool Encode(const Data_Set& set, const Mend_Options& options, const Encoding& encoding,
            Findings& findings, Encoded_File& out)
{
    const Writer_Settings settings(options);
    // The head is explicit VR little endian whatever the data set is. Its group length would
    // follow another code.
    constexpr char Head_Code = DICOM_Order_Explicit_VR;
    const char code = static_cast<char>(encoding.Code());
    DICOM_Lib_Free(&out.head);
    out.head_size = DICOM_Write_Part10(nullptr, Head_Code, set.meta.Head(), &out.head);
    Pixel_Job job = {set, findings, options.group_lengths, nullptr};
    out.body_size =
        Has_Body(set) ? DICOM_Write_Buffer(nullptr, code, set.records.Head(), &out.body, &job) : 0;
    Pass_On(job);
    const bool written =
        out.head_size != 0 && (out.body_size != 0 || !Has_Body(set)) && Append_Tail(set, code, out);
    if (!written) {
        const std::string reason = findings.Take_Errors();
        findings.Add(Level::Error, "cannot be encoded" + (reason.empty() ? "" : ": " + reason));
        return false;
    }
    out.deflated.clear();
    if (encoding.deflated &&
        !Deflate({reinterpret_cast<const unsigned char*>(out.body), out.body_size}, out.deflated)) {
        findings.Add(Level::Error, "no memory to deflate the data set");
        return false;
    }
    return true;
}

/** Encodes a DICOMDIR, whose values depend on where its records come to stand. */
bool Encode_Directory(Data_Set& set, const Mend_Options& options, const Encoding& encoding,
                      const std::vector<unsigned int>& old_places, Findings& findings,
                      Encoded_File& out)
{
    if (!Encode(set, options, encoding, findings, out)) {
        return false;
    }
    const std::vector<unsigned int> new_places = Directory_Places_In(out.Joined());
    Move_Directory_Offsets(set, old_places, new_places, findings);
    return Encode(set, options, encoding, findings, out);
}

/** Tells what cannot be written without harm; false then. */
bool Can_Be_Written(const Data_Set& set, const Mend_Options& options, Findings& findings)
{
    if (findings.Out_Of_Memory() || set.unreadable) {
        return false;
    }
    if (set.records.Head() == nullptr) {
        findings.Add(Level::Error, "there is nothing to write");
        return false;
    }
    if (set.too_deep) {
        findings.Add(Level::Error, "sequences nest deeper than nine levels, which cannot be kept");
        return false;
    }
    if (set.syntax.empty()) {
        findings.Add(Level::Error, "pixel data in an unknown transfer syntax cannot be written");
        return false;
    }
    if (set.encoding.encapsulated && options.syntax != Output_Syntax::Keep) {
        findings.Add(Level::Error, "compressed pixel data (" + set.syntax +
                                       ") cannot be written in another transfer syntax");
        return false;
    }
    return true;
}

}  // namespace

Encoded_File::~Encoded_File()
{
    DICOM_Lib_Free(&head);
    DICOM_Lib_Free(&body);
}

std::vector<std::span<const unsigned char>> Encoded_File::Pieces() const
{
    const std::span<const unsigned char> first(reinterpret_cast<const unsigned char*>(head),
                                               head_size);
    if (!deflated.empty()) {
        return {first, deflated};
    }
    return {first, {reinterpret_cast<const unsigned char*>(body), body_size}};
}

Bytes Encoded_File::Joined() const
{
    Bytes all;
    for (const std::span<const unsigned char> piece : Pieces()) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

bool Mend(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out)
{
    if (!Can_Be_Written(set, options, findings)) {
        return false;
    }
    if (set.preamble_in_use) {
        findings.Add(Level::Change, "the preamble held data of an application; it is cleared");
    }
    const Encoding encoding = Output_Encoding(set, options.syntax);
    const std::string syntax = encoding.encapsulated ? set.syntax : std::string(UID_Of(encoding));
    const std::vector<unsigned int> places = Directory_Places(set);

    Heal(set, options.heal, findings);
    Fit_To_Encoding(set, encoding, findings);
    Remove_Unwanted(set.records, options.drop_private, options.group_lengths, findings);
    if (set.records.Head() == nullptr) {
        findings.Add(Level::Error, "nothing is left to write");
        return false;
    }
    Complete_Meta(set, syntax, findings);
    const bool encoded = places.empty()
                             ? Encode(set, options, encoding, findings, out)
                             : Encode_Directory(set, options, encoding, places, findings, out);
    findings.Settle_Errors();
    if (set.source->Failure() != 0) {
        findings.Add(Level::Error, "the values cannot be read");
        return false;
    }
    // Where memory ran out, a repair may have cost a value.
    return encoded && !findings.Out_Of_Memory();
}

}  // namespace lib_mend
