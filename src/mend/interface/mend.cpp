#include "mend/interface/mend.h"

#include "mend/healing/groups.h"
#include "mend/interface/heal.h"
#include "mend/interface/output_form.h"
#include "mend/reading/tree.h"
#include "mend/writing/directory_offsets.h"
#include "mend/writing/encoder.h"
#include "mend/writing/file_meta.h"

#include <memory>

namespace lib_mend {

namespace {

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

void Encode(Data_Set& set, const Mend_Options& options, const Encoding& encoding,
            Findings& findings, Encoded_File& out)
{
    const Encoder_Options body = {encoding, options.defined_lengths, options.group_lengths};
    out.Clear();
    Encode_Head(set, out);
    if (encoding.deflated) {
        const auto plain = std::make_shared<Encoded_File>();
        Encode_List(set.source, set.records.Head(), body, *plain);
        out.Put_Deflated(plain);
        return;
    }
    Move_Directory_Offsets(set, body, out.Size(), findings);
    Encode_List(set.source, set.records.Head(), body, out);
}

/** A value that is longer than any length can tell. */
const DICOM_List* Find_Endless(const Data_Set& set)
{
    constexpr std::int64_t Undefined = 0xFFFFFFFF;
    Tree_Walk walk(set.source->Has_Far_Places() ? set.records.Head() : nullptr);
    const DICOM_List* record = walk.Next();
    while (record != nullptr && Size_Of(*record) < Undefined) {
        record = walk.Next();
    }
    return record;
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
    if (const DICOM_List* const endless = Find_Endless(set)) {
        findings.Report(Fault::Not_Written, Level::Error, At(*endless, {}),
                        "a value of 4 GiB and more cannot be written");
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
    Heal_Options heal = options.heal;
    heal.without_private = options.drop_private;
    Heal(set, heal, findings);
    if (options.drop_private) {
        Leave_Out_Private(set.records, findings);
    }
    findings.Settle_Errors();
    if (!Can_Be_Written(set, options, findings)) {
        return false;
    }
    const Encoding encoding = Fit_To_Output(set, options.syntax, options.heal, findings);
    const std::string syntax = encoding.encapsulated ? set.syntax : std::string(UID_Of(encoding));
    if (set.records.Head() == nullptr) {
        findings.Report(Fault::Not_Written, Level::Error, {}, "nothing is left to write");
        return false;
    }
    Complete_Meta(set, syntax, findings);
    Encode(set, options, encoding, findings, out);
    findings.Settle_Errors();
    if (set.source->Failure() != 0) {
        findings.Report(Fault::Unreadable, Level::Error, {}, "the values cannot be read");
        return false;
    }
    // Where memory ran out, a repair may have cost a value.
    return !findings.Out_Of_Memory();
}

}  // namespace lib_mend
