#include "archive/comparison.h"

#include "archive/packing.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <utility>

namespace dicom_mend {

namespace {

using lib_mend::Finding;

void Put(lib_mend::Spool& spool, std::string_view bytes)
{
    spool.Put({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

std::string Taken(const lib_mend::Spool& spool, std::int64_t& at, std::size_t size)
{
    std::string bytes(size, '\0');
    if (spool.Read(at, {reinterpret_cast<unsigned char*>(bytes.data()), size}) != size) {
        throw std::runtime_error("what was found cannot be read again");
    }
    at += static_cast<std::int64_t>(size);
    return bytes;
}

bool Is_Same(const Finding& one, const Finding& other)
{
    return Kind_Of(one).fault == Kind_Of(other).fault && one.path == other.path &&
           one.text == other.text;
}

/** The status of a file by its first findings. */
Exit_Status Status_Alone(const File_Record& record, std::ptrdiff_t count)
{
    Exit_Status status = record.failure.empty() ? Exit_Clean : Exit_Failure;
    std::for_each(record.findings.begin(), record.findings.begin() + count,
                  [&status](const Finding& finding) {
                      const bool is_loss = finding.level == lib_mend::Level::Error;
                      const bool is_fault = Severity_Of(finding) != lib_mend::Severity::Info;
                      status = std::max(status, is_loss    ? Exit_Failure
                                                : is_fault ? Exit_Findings
                                                           : Exit_Clean);
                  });
    return status;
}

/** Puts what a comparison found behind what was found in the file, instead of what an earlier one did. */
void Add_Compared(Held_File& held, const Comparison::Compared& compared, bool show_values)
{
    std::vector<Finding>& findings = held.record.findings;
    const auto own = static_cast<std::ptrdiff_t>(std::min(held.record.found, findings.size()));
    const std::vector<Finding> before(findings.begin() + own, findings.end());
    findings.resize(static_cast<std::size_t>(own));
    std::vector<Finding> added = compared.findings.All();
    if (!show_values) {
        Leave_Out_Values(added);
    }
    findings.insert(findings.end(), added.begin(), added.end());
    std::vector<std::string>& headers = held.record.headers;
    headers.resize(static_cast<std::size_t>(own));
    headers.insert(headers.end(), compared.headers.begin(), compared.headers.end());
    // What the log says was the status with what an earlier comparison found.
    const Exit_Status alone =
        held.is_finished ? Status_Alone(held.record, own) : held.record.status;
    held.record.status = std::max(alone, Status_Of(compared.findings));
    for (std::size_t i = 0; i < added.size(); ++i) {
        if (std::none_of(before.begin(), before.end(),
                         [&](const Finding& each) { return Is_Same(each, added[i]); })) {
            held.news.push_back(std::move(added[i]));
            held.news_headers.push_back(i < compared.headers.size() ? compared.headers[i]
                                                                    : std::string());
        }
    }
    held.is_other = before.size() != added.size() || !held.news.empty();
}

}  // namespace

void Held_Files::Hold(const File_Record& record, bool is_finished, bool is_said, bool is_final)
{
    comparison_.Take(record);
    File_Record kept = record;
    kept.facts = {};
    kept.has_facts = false;
    Packer packer;
    packer.Put(is_finished);
    packer.Put(is_said);
    packer.Put(is_final);
    packer.Put(std::uint64_t{is_finished ? record.found : record.findings.size()});
    Pack(kept, packer);
    Put(spool_, Framed(packer.Bytes()));
}

void Held_Files::Release(bool is_whole, bool show_values,
                         const std::function<void(Held_File&&)>& tell)
{
    Comparison::By_File all = is_whole ? comparison_.Compare() : Comparison::By_File();
    for (std::int64_t at = 0; at < spool_.Size();) {
        const std::string head = Taken(spool_, at, Frame_Head);
        const std::string bytes = Taken(spool_, at, Frame_Size(head.data()));
        Unpacker unpacker(bytes);
        Held_File held;
        held.is_finished = unpacker.Flag();
        held.is_said = unpacker.Flag();
        held.is_final = unpacker.Flag();
        const std::uint64_t found = unpacker.Number();
        held.record = Unpack_Record(unpacker);
        held.record.found = static_cast<std::size_t>(found);
        if (is_whole) {
            // A file that is named twice is there twice, with what was found in each.
            const auto compared = all.find(held.record.path);
            Add_Compared(held, compared != all.end() ? compared->second : Comparison::Compared(),
                         show_values);
            if (compared != all.end()) {
                all.erase(compared);
            }
        }
        tell(std::move(held));
    }
}

}  // namespace dicom_mend
