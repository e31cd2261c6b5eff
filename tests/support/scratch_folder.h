// A folder that lives as long as its owner.
#ifndef TESTS_SCRATCH_FOLDER_H
#define TESTS_SCRATCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class Scratch_Folder {
public:
    Scratch_Folder()
    {
        folder = (std::filesystem::temp_directory_path() / "scratch_XXXXXX").string();
        folder = mkdtemp(folder.data());
    }
    Scratch_Folder(const Scratch_Folder&) = delete;
    Scratch_Folder& operator=(const Scratch_Folder&) = delete;
    ~Scratch_Folder()
    {
        std::filesystem::remove_all(folder);
    }
    std::string Path(const std::string& name) const
    {
        return folder + "/" + name;
    }
    /** The path of the file that is written. */
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream in(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    long Count() const
    {
        return static_cast<long>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }

    std::string folder;
};

#endif
