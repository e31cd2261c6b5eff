#include "archive/totals.h"

#include "mend/findings/json_text.h"
#include "mend/findings/letters.h"

#include <cstdio>

namespace dicom_mend {

namespace {

using lib_mend::JSON_Text;
using lib_mend::Severity;

void Count(const File_Record& record, Totals::Kinds& kinds)
{
    Totals::Kinds here;
    for (const lib_mend::Finding& finding : record.findings) {
        ++here[{Severity_Of(finding), Kind_Of(finding).name}].findings;
    }
    for (const auto& [kind, count] : here) {
        kinds[kind].findings += count.findings;
        ++kinds[kind].files;
    }
}

std::string Kinds_JSON(const Totals::Kinds& kinds)
{
    std::string json = "[";
    for (auto entry = kinds.rbegin(); entry != kinds.rend(); ++entry) {
        json += std::string(json.size() > 1 ? "," : "") + "{\"severity\":\"" +
                lib_mend::Severity_Name(entry->first.first) +
                "\",\"kind\":" + JSON_Text(entry->first.second) +
                ",\"findings\":" + std::to_string(entry->second.findings) +
                ",\"files\":" + std::to_string(entry->second.files) + "}";
    }
    return json + "]";
}

std::string Counted(std::uint64_t number, const char* what)
{
    return std::to_string(number) + " " + what;
}

/** "1 file", "2 files" */
std::string Plural(std::uint64_t number, const char* one)
{
    return Counted(number, one) + (number == 1 ? "" : "s");
}

void Append_Kinds(std::string& text, const Totals::Kinds& kinds, const char* indent, Severity least)
{
    for (auto entry = kinds.rbegin(); entry != kinds.rend(); ++entry) {
        if (entry->first.first < least) {
            continue;
        }
        char line[160];
        const std::uint64_t findings = entry->second.findings;
        std::snprintf(line, sizeof line, "%s%-7s  %-24s %8llu %s in ", indent,
                      lib_mend::Severity_Name(entry->first.first), entry->first.second.c_str(),
                      static_cast<unsigned long long>(findings),
                      findings == 1 ? "finding" : "findings");
        text += line + Plural(entry->second.files, "file") + "\n";
    }
}

}  // namespace

void Totals::Add(const File_Record& record)
{
    if (record.is_foreign) {
        ++foreign;
        return;
    }
    ++files;
    bytes += record.size;
    ++(record.status == Exit_Clean      ? clean
       : record.status == Exit_Findings ? with_findings
                                        : failed);
    Count(record, kinds);
    Device_Count& device = devices[record.device];
    ++device.files;
    device.with_findings += record.status == Exit_Findings ? 1 : 0;
    device.failed += record.status == Exit_Failure ? 1 : 0;
    Count(record, device.kinds);
}

const char* Status_Name(const File_Record& record)
{
    return record.is_foreign                ? "left"
           : record.status == Exit_Clean    ? "clean"
           : record.status == Exit_Findings ? "findings"
                                            : "failed";
}

std::string Device_Name(const Device& device)
{
    std::string name = device.manufacturer;
    name += (name.empty() || device.model.empty() ? "" : " ") + device.model;
    name = name.empty() ? "unknown device" : name;
    return device.software.empty() ? name : name + ", " + device.software;
}

std::string Totals_JSON(const Totals& totals)
{
    std::string json = "{\"files\":" + std::to_string(totals.files) +
                       ",\"bytes\":" + std::to_string(totals.bytes) +
                       ",\"clean\":" + std::to_string(totals.clean) +
                       ",\"with_findings\":" + std::to_string(totals.with_findings) +
                       ",\"failed\":" + std::to_string(totals.failed) +
                       ",\"left\":" + std::to_string(totals.foreign) +
                       ",\"kinds\":" + Kinds_JSON(totals.kinds) + ",\"devices\":[";
    const char* separator = "";
    for (const auto& [device, count] : totals.devices) {
        json += separator + ("{\"manufacturer\":" + JSON_Text(device.manufacturer)) +
                ",\"model\":" + JSON_Text(device.model) +
                ",\"software\":" + JSON_Text(device.software) +
                ",\"files\":" + std::to_string(count.files) +
                ",\"with_findings\":" + std::to_string(count.with_findings) +
                ",\"failed\":" + std::to_string(count.failed) +
                ",\"kinds\":" + Kinds_JSON(count.kinds) + "}";
        separator = ",";
    }
    return json + "]}";
}

std::string Totals_Text(const Totals& totals)
{
    std::string text = Plural(totals.files, "file") + ": " + Counted(totals.clean, "clean, ") +
                       Counted(totals.with_findings, "with findings, ") +
                       Counted(totals.failed, "not whole; ") +
                       Counted(totals.foreign, "not DICOM\n");
    text += totals.kinds.empty() ? "" : "\nBy kind\n";
    Append_Kinds(text, totals.kinds, "  ", Severity::Info);
    text += totals.devices.empty() ? "" : "\nBy device and software version\n";
    for (const auto& [device, count] : totals.devices) {
        text += "  " + lib_mend::Printable(Device_Name(device)) + ": " +
                Plural(count.files, "file") + ", " +
                Counted(count.with_findings, "with findings, ") +
                Counted(count.failed, "not whole\n");
        Append_Kinds(text, count.kinds, "    ", Severity::Warning);
    }
    return text;
}

}  // namespace dicom_mend
