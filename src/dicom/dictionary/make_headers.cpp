// Build tool: turns the text files of the data dictionary into the arrays that are compiled in.
//
//     make_headers <directory of the text files> <directory of the headers>
//
// Each DICOM_Group_<group>.txt becomes DICOM_Group_<group>.hpp. DICOM_Groups.hpp includes them all
// and lists the arrays with their sizes in ascending group order, as `tables`.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/** Longest line that the parser of the library takes whole. */
constexpr std::size_t Max_Line = 159;

std::ofstream Create(const fs::path& path)
{
    std::ofstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary);
    return file;
}

/** Makes the header of one group. Returns false when the group has no text file. */
bool Make_Header(const fs::path& text_dir, const fs::path& header_dir, const std::string& name)
{
    std::ifstream text(text_dir / (name + ".txt"));
    if (!text) {
        return false;
    }
    std::ofstream header = Create(header_dir / (name + ".hpp"));
    header << "static char *" << name << "[] = {\n";
    const char* separator = "";
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line.front() != '(') {
            continue;
        }
        line.erase(line.find_last_not_of(" \r\n") + 1);
        if (line.size() > Max_Line) {
            throw std::runtime_error("line too long: " + line);
        }
        header << separator << '"' << line << '"';
        separator = ",\n";
    }
    header << "\n} ;\n";
    return true;
}

/** Includes the headers of all groups and lists their arrays. */
void Make_List(const fs::path& header_dir, const std::vector<std::string>& names)
{
    std::ofstream list = Create(header_dir / "DICOM_Groups.hpp");
    for (const std::string& name : names) {
        list << "#include \"" << name << ".hpp\"\n";
    }
    list << "static const Table tables[] = {\n";
    for (const std::string& name : names) {
        list << '{' << name << ", sizeof " << name << "},\n";
    }
    list << "} ;\n";
}

void NEMA_db_Make_Headers(const fs::path& text_dir, const fs::path& header_dir)
{
    std::vector<std::string> names;
    const auto make = [&](const char* format, unsigned group) {
        char name[32];
        std::snprintf(name, sizeof name, format, group);
        if (Make_Header(text_dir, header_dir, name)) {
            names.emplace_back(name);
        }
    };
    for (unsigned group = 0x0000; group <= 0xFFFE; group += 2) {
        make("DICOM_Group_%04X", group);
    }
    for (unsigned group = 0x10; group <= 0x80; group += 0x10) {
        make("DICOM_Group_%02Xxx", group);
    }
    std::sort(names.begin(), names.end());
    Make_List(header_dir, names);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_headers <text directory> <header directory>\n");
        return 2;
    }
    try {
        NEMA_db_Make_Headers(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_headers: %s: %s\n", argv[1], error.what());
        return 1;
    }
    return 0;
}
