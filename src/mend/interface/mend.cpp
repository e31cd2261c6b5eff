#include "mend/interface/mend.h"

#include "mend/healing/groups.h"
#include "mend/healing/implicit_form.h"
#include "mend/healing/repair.h"
#include "mend/interface/heal.h"
#include "mend/io/deflate.h"
#include "mend/writing/directory_offsets.h"
#include "mend/writing/encoder.h"
#include "mend/writing/file_meta.h"

namespace lib_mend {

namespace {

Encoding Wanted_Encoding(const Data_Set& set, Output_Syntax syntax)
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

/** The encoding that is wanted, or explicit VR where implicit VR would make items of a value. */
Encoding Output_Encoding(const Data_Set& set, Output_Syntax syntax, Findings& findings)
{
    Encoding encoding = Wanted_Encoding(set, syntax);
    Path way;
    const DICOM_List* const unfit =
        encoding.explicit_vr ? nullptr : Find_Unfit_For_Implicit(set, way);
    if (unfit == nullptr) {
        return encoding;
    }
    encoding.explicit_vr = true;
    if (set.encoding.explicit_vr) {
        findings.Report(Fault::Transfer_Syntax, Level::Kept, At(*unfit, way),
                        "implicit VR cannot carry these bytes, which would be taken for items; the "
                        "data set stays in explicit VR");
    }
    return encoding;
}

constexpr std::int64_t Preamble_Size = 128;

/** Preamble, prefix and group 0002, which is explicit VR little endian whatever follows. */
void Encode_Head(const Data_Set& set, Output& out)
{
    Bytes preamble(Preamble_Size);
    for (const char c : {'D', 'I', 'C', 'M'}) {
        preamble.push_back(static_cast<unsigned char>(c));
    }
    out.Put(preamble);
    const Encoder_Options options = {Encoding_Of(Explicit_Little_UID), false, true};
    Encode_List(set.source, set.meta.Head(), options, out);
}

/** Encodes and deflates the data set; false without memory. */
bool Encode_Deflated(const Data_Set& set, const Encoder_Options& options, Findings& findings,
                     Output& out)
{
    Encoded_File plain;
    Encode_List(set.source, set.records.Head(), options, plain);
    Bytes deflated;
    const Piece_Giver give = [&plain](const auto& take) {
        return plain.Give(take);
    };
    if (!Deflate(give, deflated)) {
        findings.Report(Fault::Memory, Level::Error, {}, "no memory to deflate the data set");
        return false;
    }
    out.Put(deflated);
    return true;
}

bool Encode(Data_Set& set, const Mend_Options& options, const Encoding& encoding,
            Findings& findings, Encoded_File& out)
{
    const Encoder_Options body = {encoding, options.defined_lengths, options.group_lengths};
    out.Clear();
    Encode_Head(set, out);
    if (encoding.deflated) {
        return Encode_Deflated(set, body, findings, out);
    }
    Move_Directory_Offsets(set, body, out.Size(), findings);
    Encode_List(set.source, set.records.Head(), body, out);
    return true;
}

/** Tells what cannot be written without harm; false then. */
bool Can_Be_Written(const Data_Set& set, const Mend_Options& options, Findings& findings)
{
    if (findings.Out_Of_Memory() || set.unreadable) {
        return false;
    }
    if (set.records.Head() == nullptr) {
        findings.Report(Fault::Not_Written, Level::Error, {}, "there is nothing to write");
        return false;
    }
    if (set.syntax.empty()) {
        findings.Report(Fault::Not_Written, Level::Error, {},
                        "pixel data in an unknown transfer syntax cannot be written");
        return false;
    }
    if (set.encoding.encapsulated && options.syntax != Output_Syntax::Keep) {
        findings.Report(Fault::Not_Written, Level::Error, {},
                        "compressed pixel data (" + set.syntax +
                            ") cannot be written in another transfer syntax");
        return false;
    }
    return true;
}

}  // namespace

bool Mend(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out)
{
    if (set.foreign) {
        return false;
    }
    if (options.drop_private) {
        Leave_Out_Private(set.records, findings);
    }
    Heal(set, options.heal, findings);
    findings.Settle_Errors();
    if (!Can_Be_Written(set, options, findings)) {
        return false;
    }
    const Encoding encoding = Output_Encoding(set, options.syntax, findings);
    const std::string syntax = encoding.encapsulated ? set.syntax : std::string(UID_Of(encoding));

    Fit_To_Encoding(set, encoding, options.heal, findings);
    if (set.records.Head() == nullptr) {
        findings.Report(Fault::Not_Written, Level::Error, {}, "nothing is left to write");
        return false;
    }
    Complete_Meta(set, syntax, findings);
    const bool encoded = Encode(set, options, encoding, findings, out);
    findings.Settle_Errors();
    if (set.source->Failure() != 0) {
        findings.Report(Fault::Unreadable, Level::Error, {}, "the values cannot be read");
        return false;
    }
    // Where memory ran out, a repair may have cost a value.
    return encoded && !findings.Out_Of_Memory();
}

}  // namespace lib_mend
