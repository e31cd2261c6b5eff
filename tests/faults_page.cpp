// Holds the examples of docs/faults.md and the like against the tool: each shows the bytes of a fault,
// what the file holds after mending, and what is said. Mending again changes nothing.
//
//   faults_page PAGE            exit status 1 when an example is not what mending gives
//   faults_page --write PAGE    prints the page with what mending gives
//
// An example is a block of code that is marked "fault", or "brief" for one that tells only whether the
// file changes:
//
//   explicit-little [--strict ...]     encoding or transfer syntax of the data set, or "file" for the
//                                      bytes of a whole file
//   08 00 60 00 43 53 02 00 "MR"       bytes in hexadecimal or as text; 00*128 repeats one
//   =>
//   0008,0060 CS "MR"                  the elements of the mended file
//   warning padding 0008,0060: ...     the findings with their severity, kind and place
#include "support/mend_in_memory.h"
#include "support/plain_reader.h"
#include "support/stream_builder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>

namespace {

constexpr std::size_t Shown_Bytes = 48;

bool Is_Text(const std::string& value)
{
    for (const char c : value) {
        if (c < ' ' || c > '~') {
            return false;
        }
    }
    return true;
}

std::string Value_Text(const std::string& value)
{
    if (value.empty()) {
        return "";
    }
    const std::string shown = value.substr(0, Shown_Bytes);
    std::string text;
    if (Is_Text(value)) {
        text = " \"" + shown + "\"";
    } else {
        for (const char c : shown) {
            char digits[8];
            std::snprintf(digits, sizeof digits, " %02X", static_cast<unsigned char>(c));
            text += digits;
        }
    }
    return value.size() > Shown_Bytes ? text + " ... (" + std::to_string(value.size()) + " bytes)"
                                      : text;
}

/** Values in findings may hold any bytes. */
std::string Printable(const std::string& text)
{
    std::string printable;
    for (const char c : text) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(c));
        printable += Is_Text({c}) ? std::string(1, c) : std::string(escape);
    }
    return printable;
}

/** Bytes of a line: hexadecimal pairs, "text", and repetitions. */
std::string Bytes_Of(const std::string& line)
{
    std::string bytes;
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == ' ') {
            ++at;
            continue;
        }
        std::string piece;
        if (line[at] == '"') {
            const std::size_t end = line.find('"', at + 1);
            piece = line.substr(at + 1, end - at - 1);
            at = end + 1;
        } else {
            piece = static_cast<char>(std::strtol(line.substr(at, 2).c_str(), nullptr, 16));
            at += 2;
        }
        int times = 1;
        if (at < line.size() && line[at] == '*') {
            std::size_t used = 0;
            times = std::stoi(line.substr(at + 1), &used);
            at += 1 + used;
        }
        for (; times > 0; --times) {
            bytes += piece;
        }
    }
    return bytes;
}

std::string File_Of(const std::string& encoding, const std::string& bytes)
{
    static const std::map<std::string, std::string> syntaxes = {
        {"implicit-little", "1.2.840.10008.1.2"},
        {"explicit-little", "1.2.840.10008.1.2.1"},
        {"explicit-big", "1.2.840.10008.1.2.2"},
        {"jpeg", "1.2.840.10008.1.2.4.50"},
        {"rle", "1.2.840.10008.1.2.5"}};
    const auto syntax = syntaxes.find(encoding);
    return encoding[0] == '1'         ? Part10_Head(encoding) + bytes
           : syntax == syntaxes.end() ? bytes
                                      : Part10_Head(syntax->second) + bytes;
}

lib_mend::Mend_Options Options_Of(std::istringstream& words)
{
    lib_mend::Mend_Options options;
    for (std::string word; words >> word;) {
        if (word == "--strict") {
            options.heal.strict = true;
        } else if (word == "--replace-uids") {
            options.heal.replace_uids = true;
        } else if (word == "--syntax") {
            words >> word;
            options.syntax = word == "implicit-little"   ? lib_mend::Output_Syntax::Implicit_Little
                             : word == "explicit-little" ? lib_mend::Output_Syntax::Explicit_Little
                                                         : lib_mend::Output_Syntax::Explicit_Big;
        } else if (word == "--record") {
            options.heal.record = true;
            options.heal.record_time = "20260102030405+0100";
        } else if (word == "--drop-private") {
            options.drop_private = true;
        } else if (word == "--pad-pixels") {
            options.heal.pad_pixels = true;
        } else if (word == "--to-utf8") {
            options.heal.to_utf8 = true;
        } else if (word == "--charset") {
            std::string term;
            std::getline(words >> std::ws, term);
            options.heal.charset = term;
        } else {
            std::fprintf(stderr, "unknown option %s\n", word.c_str());
            std::exit(2);
        }
    }
    return options;
}

/** What mending gives for the lines above "=>". */
std::string Outcome_Of(const std::vector<std::string>& input, bool is_brief)
{
    std::istringstream words(input.at(0));
    std::string encoding;
    words >> encoding;
    std::string bytes;
    for (std::size_t i = 1; i < input.size(); ++i) {
        bytes += Bytes_Of(input[i]);
    }
    const lib_mend::Mend_Options options = Options_Of(words);
    const std::string file = File_Of(encoding, bytes);
    const Mended_File mended = Mend_In_Memory(file, options);
    std::string outcome;
    if (is_brief && mended.bytes == file) {
        outcome += "nothing changes\n";
    } else if (mended.done) {
        const bool stays = Mend_In_Memory(mended.bytes, options).bytes == mended.bytes;
        outcome += stays ? "" : "mending again changes it\n";
        const Plain_File after = Read_Plain(mended.bytes);
        outcome += after.error.empty() ? "" : "a plain reader says: " + after.error + "\n";
        for (const Plain_Element& element : after.elements) {
            if (element.path.compare(0, 4, "0002") != 0 || encoding == "file") {
                const bool is_length = element.path == "0002,0000";
                outcome += element.path + (element.vr.empty() ? "" : " " + element.vr) +
                           (is_length ? "" : Value_Text(element.value)) + "\n";
            }
        }
    } else {
        outcome += "nothing is written\n";
    }
    for (const lib_mend::Finding& finding : mended.findings) {
        const std::string place =
            finding.path.empty() && finding.has_tag ? Tag_Text(finding.tag) : finding.path;
        const std::string text = Shown_Text(finding, true);
        outcome += std::string(Severity_Name(Severity_Of(finding))) + " " + Kind_Of(finding).name +
                   (place.empty() ? "" : " " + place) + ": " + Printable(text) + "\n";
    }
    return outcome;
}

/** The page with the outcomes that mending gives; `count` receives the number of examples. */
std::string Page_As_It_Should_Be(std::istream& page, int& count)
{
    std::string out;
    std::vector<std::string> input;
    bool in_example = false;
    bool is_brief = false;
    bool in_outcome = false;
    for (std::string line; std::getline(page, line);) {
        if (!in_example) {
            is_brief = line == "```brief";
            in_example = is_brief || line == "```fault";
            input.clear();
            out += line + "\n";
        } else if (line == "=>") {
            in_outcome = true;
            out += line + "\n" + Outcome_Of(input, is_brief);
            ++count;
        } else if (line == "```") {
            in_example = in_outcome = false;
            out += line + "\n";
        } else if (!in_outcome) {
            input.push_back(line);
            out += line + "\n";
        }
    }
    return out;
}

}  // namespace

int main(int argc, char** argv)
{
    const bool writes = argc == 3 && std::strcmp(argv[1], "--write") == 0;
    std::ifstream stream(argv[argc - 1]);
    if (argc < 2 || !stream) {
        std::fprintf(stderr, "usage: faults_page [--write] PAGE\n");
        return 2;
    }
    const std::string page{std::istreambuf_iterator<char>(stream), {}};
    std::istringstream lines(page);
    int count = 0;
    const std::string wanted = Page_As_It_Should_Be(lines, count);
    if (writes) {
        std::cout << wanted;
        return 0;
    }
    std::istringstream was(page);
    std::istringstream is(wanted);
    for (std::string old_line, new_line; std::getline(is, new_line);) {
        std::getline(was, old_line);
        if (old_line != new_line) {
            std::printf("the page says: %s\nmending gives: %s\n", old_line.c_str(),
                        new_line.c_str());
            return 1;
        }
    }
    std::printf("%d examples are as mending gives them\n", count);
    return count == 0 || page.size() != wanted.size() ? 1 : 0;
}
