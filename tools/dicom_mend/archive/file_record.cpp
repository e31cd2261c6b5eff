#include "archive/file_record.h"

#include "mend/findings/report_text.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace dicom_mend {

namespace {

using lib_mend::Finding;

void Pack_Tag(lib_mend::Tag tag, Packer& packer)
{
    packer.Put(std::uint64_t{tag.group} << 16 | tag.element);
}

void Pack_Finding(const Finding& finding, Packer& packer)
{
    packer.Put(std::uint64_t{static_cast<unsigned char>(finding.level)});
    packer.Put(finding.has_tag);
    Pack_Tag(finding.tag, packer);
    packer.Put(std::uint64_t{finding.vr});
    packer.Put(finding.offset);
    packer.Put(finding.text);
    // The number of a kind is another one in the next version; its name is not.
    packer.Put(std::string_view(Kind_Of(finding).name));
    packer.Put(finding.path);
    packer.Put(finding.length);
    packer.Put(finding.before);
    packer.Put(finding.after);
    packer.Put(std::string_view(finding.clause != nullptr ? finding.clause : ""));
}

lib_mend::Tag Unpack_Tag(Unpacker& bytes)
{
    const std::uint64_t tag = bytes.Number();
    return {static_cast<unsigned short>(tag >> 16), static_cast<unsigned short>(tag)};
}

Finding Unpack_Finding(Unpacker& bytes)
{
    Finding finding;
    finding.level = static_cast<lib_mend::Level>(
        std::min<std::uint64_t>(bytes.Number(), static_cast<int>(lib_mend::Level::Error)));
    finding.has_tag = bytes.Flag();
    finding.tag = Unpack_Tag(bytes);
    finding.vr = static_cast<unsigned short>(bytes.Number());
    finding.offset = bytes.Signed();
    finding.text = bytes.Text();
    finding.fault = lib_mend::Fault_Of(bytes.Text());
    finding.path = bytes.Text();
    finding.length = bytes.Signed();
    finding.before = bytes.Text();
    finding.after = bytes.Text();
    finding.clause = Kept_Clause(bytes.Text());
    return finding;
}

void Pack_Spot(const lib_mend::Study_Facts::Spot& spot, Packer& packer)
{
    Pack_Tag(spot.tag, packer);
    packer.Put(std::uint64_t{spot.path.size()});
    for (const lib_mend::Path_Step& step : spot.path) {
        Pack_Tag(step.sequence, packer);
        packer.Put(std::int64_t{step.item});
    }
    packer.Put(spot.offset);
    packer.Put(spot.length);
}

lib_mend::Study_Facts::Spot Unpack_Spot(Unpacker& bytes)
{
    lib_mend::Study_Facts::Spot spot;
    spot.tag = Unpack_Tag(bytes);
    spot.path.resize(bytes.Count());
    for (lib_mend::Path_Step& step : spot.path) {
        step.sequence = Unpack_Tag(bytes);
        step.item = static_cast<int>(bytes.Signed());
    }
    spot.offset = bytes.Signed();
    spot.length = bytes.Signed();
    return spot;
}

void Pack_Facts(const lib_mend::Study_Facts& facts, Packer& packer)
{
    packer.Put(facts.syntax);
    packer.Put(facts.is_encapsulated);
    for (std::size_t i = 0; i < facts.values.size(); ++i) {
        packer.Put(facts.values[i]);
        packer.Put(facts.offsets[i]);
        packer.Put(facts.lengths[i]);
    }
    packer.Put(facts.references.size());
    for (const lib_mend::Study_Facts::Reference& reference : facts.references) {
        packer.Put(reference.instance);
        packer.Put(reference.sop_class);
        Pack_Spot(reference.class_spot, packer);
        packer.Put(reference.frame);
        Pack_Spot(reference.frame_spot, packer);
    }
    packer.Put(facts.trackings.size());
    for (const lib_mend::Study_Facts::Tracked& each : facts.trackings) {
        packer.Put(each.uid);
        packer.Put(each.label);
        Pack_Spot(each.spot, packer);
    }
}

lib_mend::Study_Facts Unpack_Facts(Unpacker& bytes)
{
    lib_mend::Study_Facts facts;
    facts.syntax = bytes.Text();
    facts.is_encapsulated = bytes.Flag();
    for (std::size_t i = 0; i < facts.values.size(); ++i) {
        facts.values[i] = bytes.Text();
        facts.offsets[i] = bytes.Signed();
        facts.lengths[i] = bytes.Signed();
    }
    facts.references.resize(bytes.Count());
    for (lib_mend::Study_Facts::Reference& reference : facts.references) {
        reference.instance = bytes.Text();
        reference.sop_class = bytes.Text();
        reference.class_spot = Unpack_Spot(bytes);
        reference.frame = bytes.Signed();
        reference.frame_spot = Unpack_Spot(bytes);
    }
    facts.trackings.resize(bytes.Count());
    for (lib_mend::Study_Facts::Tracked& each : facts.trackings) {
        each.uid = bytes.Text();
        each.label = bytes.Text();
        each.spot = Unpack_Spot(bytes);
    }
    return facts;
}

}  // namespace

/** Clauses are constants where findings are made; those of a log are kept as long as the process lives. */
const char* Kept_Clause(const std::string& clause)
{
    static auto& clauses = *new std::set<std::string>;
    return clause.empty() ? nullptr : clauses.insert(clause).first->c_str();
}

void Pack(const Work_Item& item, Packer& packer)
{
    packer.Put(item.index);
    packer.Put(item.path);
    packer.Put(item.relative);
    packer.Put(item.size);
    packer.Put(item.modified);
    packer.Put(item.is_found);
    packer.Put(item.is_numbered);
    packer.Put(item.staged);
}

Work_Item Unpack_Item(Unpacker& bytes)
{
    Work_Item item;
    item.index = bytes.Number();
    item.path = bytes.Text();
    item.relative = bytes.Text();
    item.size = bytes.Signed();
    item.modified = bytes.Signed();
    item.is_found = bytes.Flag();
    item.is_numbered = bytes.Flag();
    item.staged = bytes.Text();
    return item;
}

void Pack(const File_Record& record, Packer& packer)
{
    for (const std::string* const text :
         {&record.path, &record.relative, &record.failure, &record.sop_class, &record.study,
          &record.device.manufacturer, &record.device.model, &record.device.software,
          &record.sum_in, &record.sum_out, &record.layout}) {
        packer.Put(*text);
    }
    for (const std::int64_t number : {record.size, record.modified, record.microseconds,
                                      record.output_size, std::int64_t{record.status}}) {
        packer.Put(number);
    }
    for (const bool flag :
         {record.is_foreign, record.try_again, record.has_output, record.has_facts}) {
        packer.Put(flag);
    }
    packer.Put(std::uint64_t{record.findings.size()});
    for (const Finding& finding : record.findings) {
        Pack_Finding(finding, packer);
    }
    packer.Put(std::uint64_t{record.headers.size()});
    for (const std::string& header : record.headers) {
        packer.Put(header);
    }
    if (record.has_facts) {
        Pack_Facts(record.facts, packer);
    }
}

File_Record Unpack_Record(Unpacker& bytes)
{
    File_Record record;
    for (std::string* const text :
         {&record.path, &record.relative, &record.failure, &record.sop_class, &record.study,
          &record.device.manufacturer, &record.device.model, &record.device.software,
          &record.sum_in, &record.sum_out, &record.layout}) {
        *text = bytes.Text();
    }
    for (std::int64_t* const number :
         {&record.size, &record.modified, &record.microseconds, &record.output_size}) {
        *number = bytes.Signed();
    }
    record.status = static_cast<Exit_Status>(std::min<std::uint64_t>(bytes.Number(), Exit_Failure));
    for (bool* const flag :
         {&record.is_foreign, &record.try_again, &record.has_output, &record.has_facts}) {
        *flag = bytes.Flag();
    }
    record.findings.resize(bytes.Count());
    for (Finding& finding : record.findings) {
        finding = Unpack_Finding(bytes);
    }
    record.found = record.findings.size();
    record.headers.resize(bytes.Count());
    for (std::string& header : record.headers) {
        header = bytes.Text();
    }
    if (record.has_facts) {
        record.facts = Unpack_Facts(bytes);
    }
    return record;
}

void Leave_Out_Values(std::vector<Finding>& findings)
{
    for (Finding& finding : findings) {
        const bool shows = Shows_Values(finding, false);
        if (Text_Without_Values(finding) != finding.text.c_str()) {
            const lib_mend::Fault fault = Kind_Of(finding).fault;
            finding.text = Shown_Text(finding, false);
            finding.fault = fault;
        }
        if (!shows) {
            finding.before.clear();
            finding.after.clear();
        }
    }
}

void Report(const File_Record& record, Verbosity verbosity, bool show_values)
{
    std::fflush(stdout);
    std::string lines;
    for (const Finding& finding : record.findings) {
        if (Is_Shown(Severity_Of(finding), verbosity)) {
            lines += Shown_Line(record.path, finding, verbosity, show_values) + '\n';
        }
    }
    std::fputs(lines.c_str(), stderr);
    if (!record.failure.empty()) {
        Report_Failure(record.path, record.failure);
    }
}

void Add_Finding(File_Record& record, lib_mend::Fault fault, lib_mend::Level level,
                 std::string text)
{
    lib_mend::Findings findings;
    findings.Report(fault, level, {}, std::move(text));
    record.status = std::max(record.status, Status_Of(findings));
    record.findings.push_back(findings.All().front());
}

void Add_Failure(File_Record& record)
{
    const auto says_it = [&record](const Finding& finding) {
        return finding.text == record.failure;
    };
    if (!record.failure.empty() &&
        std::none_of(record.findings.begin(), record.findings.end(), says_it)) {
        Add_Finding(record,
                    record.try_again ? lib_mend::Fault::Not_Written : lib_mend::Fault::Unreadable,
                    lib_mend::Level::Error, record.failure);
    }
}

}  // namespace dicom_mend
