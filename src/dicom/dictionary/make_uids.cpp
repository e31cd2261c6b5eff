// Build tool: turns the text file of the registry of UIDs into the array that is compiled in.
//
//     make_uids <text file> <header>
//
// Each line "UID<tab>name<tab>kind<tab>N or Y" becomes one DICOM_UID_Entry.
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t Fields = 4;

/** Takes a line apart. Quotes and backslashes would need escapes and are not foreseen. */
void Split(const std::string& line, std::string_view (&fields)[Fields])
{
    std::string_view rest = line;
    for (std::size_t i = 0; i < Fields; ++i) {
        const std::size_t end = rest.find('\t');
        if ((end == std::string_view::npos) != (i == Fields - 1)) {
            throw std::runtime_error("not four fields: " + line);
        }
        fields[i] = rest.substr(0, end);
        rest.remove_prefix(i == Fields - 1 ? rest.size() : end + 1);
    }
    if (line.find_first_of("\"\\") != std::string::npos) {
        throw std::runtime_error("quote or backslash: " + line);
    }
}

void Make_Table(std::istream& text, std::ostream& header)
{
    header << "static constexpr DICOM_UID_Entry uids[] = {\n";
    std::string previous;
    for (std::string line; std::getline(text, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::string_view fields[Fields];
        Split(line, fields);
        const auto& [uid, name, kind, retired] = fields;
        if (uid <= previous) {
            throw std::runtime_error("not in order: " + line);
        }
        previous = uid;
        header << "{\"" << uid << "\", \"" << name << "\", \"" << kind << "\", "
               << (retired == "Y" ? '1' : '0') << "},\n";
    }
    header << "};\n";
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_uids <text file> <header>\n");
        return 2;
    }
    try {
        std::ifstream text(argv[1]);
        std::ofstream header;
        header.exceptions(std::ios::failbit | std::ios::badbit);
        header.open(argv[2], std::ios::binary);
        Make_Table(text, header);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_uids: %s: %s\n", argv[1], error.what());
        return 1;
    }
    return 0;
}
