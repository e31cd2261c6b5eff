#include "mend/interface/mend.h"

#include "mend/healing/groups.h"
#include "mend/interface/heal.h"
#include "mend/interface/output_form.h"
#include "mend/interface/second_reading.h"
#include "mend/reading/copy.h"
#include "mend/reading/reader.h"
#include "mend/reading/tree.h"
#include "mend/writing/directory_offsets.h"
#include "mend/writing/encoded_source.h"
#include "mend/writing/encoder.h"
#include "mend/writing/file_meta.h"

#include <memory>
#include <utility>

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

}  // namespace

bool Can_Be_Written(const Data_Set& set, Output_Syntax syntax, Findings& findings)
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
    if (set.encoding.encapsulated && syntax != Output_Syntax::Keep) {
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

namespace {

bool Mend_Once(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out)
{
    Heal_Options heal = options.heal;
    heal.without_private = options.drop_private;
    Heal(set, heal, findings);
    if (options.drop_private) {
        Leave_Out_Private(set.records, findings);
    }
    findings.Settle_Errors();
    if (!Can_Be_Written(set, options.syntax, findings)) {
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

/** Takes what was found in what was written of a set for something that was found in the set. */
void Take_Over(Data_Set& set, Data_Set&& again)
{
    for (Skipped& skipped : set.skipped) {
        skipped.source = skipped.source != nullptr ? skipped.source : set.source;
    }
    for (const Skipped& skipped : again.skipped) {
        set.skipped.push_back(skipped);
        set.skipped.back().source = skipped.source != nullptr ? skipped.source : again.source;
    }
    again.skipped = std::move(set.skipped);
    again.was_damaged = true;
    set = std::move(again);
}

/** False when nothing changed any more. */
bool Settle(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out)
{
    constexpr int Most_Rounds = 8;
    bool is_settled = false;
    int round = 0;
    for (; round < Most_Rounds && !is_settled; ++round) {
        const auto written = std::make_shared<Encoded_File>(std::move(out));
        const std::shared_ptr<Source> source = Source_Of(written, set.source->Name());
        Findings later;
        const Library_Session session(later);
        Data_Set again = Read_Data_Set(source, later);
        Encoded_File next;
        const bool done = !again.foreign && Mend_Once(again, options, later, next);
        is_settled = !done || Has_Bytes_Of(next, source);
        if (is_settled) {
            out = std::move(*written);
        } else {
            out = std::move(next);
            findings.Add_Later(later);
            Report_Differences(set, again, findings);
            Take_Over(set, std::move(again));
        }
    }
    return round > 1;
}

}  // namespace

bool Settle_Unwritten(Data_Set& set, const Heal_Options& heal, const Encoding& encoding,
                      Findings& findings)
{
    Findings unheard;
    if (heal.without_private) {
        Leave_Out_Private(set.records, unheard);
    }
    if (!Can_Be_Written(set, Output_Syntax::Keep, unheard)) {
        return false;
    }
    Mend_Options options;
    options.heal = heal;
    options.drop_private = heal.without_private;
    Encoded_File out;
    Encode(set, options, encoding, unheard, out);
    return Settle(set, options, findings, out);
}

namespace {

/** The form in which check looks at what would be written. */
bool Is_Usual(const Mend_Options& options)
{
    return options.syntax == Output_Syntax::Keep && !options.group_lengths &&
           !options.defined_lengths && !options.drop_private;
}

/** Replaces a healed data set by what it settles to, if that is another. */
void Settle_Copy(Data_Set& set, const Heal_Options& heal, Findings& findings)
{
    Findings unheard;
    Data_Set copy = Copy_Of(set);
    const Encoding encoding = Fit_To_Output(copy, Output_Syntax::Keep, heal, unheard);
    Complete_Meta(copy, encoding.encapsulated ? copy.syntax : std::string(UID_Of(encoding)),
                  unheard);
    if (Settle_Unwritten(copy, heal, encoding, findings)) {
        set = std::move(copy);
    }
}

}  // namespace

bool Mend(Data_Set& set, const Mend_Options& options, Findings& findings, Encoded_File& out)
{
    if (set.foreign) {
        return false;
    }
    // One that was healed before may hold what is not to be healed: values that were put back, or set.
    const bool settles = set.was_damaged && !set.healed;
    if (settles && !Is_Usual(options)) {
        // What check finds is found whatever the output is.
        Heal_Options heal = options.heal;
        heal.without_private = options.drop_private;
        Heal(set, heal, findings);
        Settle_Copy(set, heal, findings);
    }
    if (!Mend_Once(set, options, findings, out)) {
        return false;
    }
    if (settles) {
        Settle(set, options, findings, out);
    }
    return true;
}

}  // namespace lib_mend
