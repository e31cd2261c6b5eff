// The definition directory and the texts below it.
#ifndef LIB_DICOM_SRC_DEFINITIONS_DEFINITION_FILES_H
#define LIB_DICOM_SRC_DEFINITIONS_DEFINITION_FILES_H

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>

namespace lib_dicom {

/** Texts by their keys; a lookup needs no std::string. */
struct Text_Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const
    {
        return std::hash<std::string_view>()(text);
    }
};
template <class Value>
using Text_Map = std::unordered_map<std::string, Value, Text_Hash, std::equal_to<>>;

/** A file as it was read. */
struct Definition_File {
    /** For messages. */
    std::string path;
    std::string text;
};

class Definition_Files {
public:
    /**
     * The directory in use, with a separator at its end; looks for one when none is.
     *
     * @param why  receives the reason when there is none
     * @return empty when there is none
     */
    const std::filesystem::path& Directory(std::string& why);
    const std::wstring& Wide_Directory() const
    {
        return wide_;
    }
    /** Sets the directory; false, with the reason, when it does not exist. */
    bool Set_Directory(const std::filesystem::path& directory, std::string& why);

    /**
     * Reads a file below the directory by its whole name; false with the reason.
     *
     * @param max_size  larger files are refused
     */
    bool Read(std::string_view name, std::size_t max_size, Definition_File& file, std::string& why);
    /** A file by its name without ".txt", read once; null with the reason. */
    const Definition_File* Load(std::string_view name, std::string& why);
    /** Releases the texts. */
    void Free()
    {
        files_.clear();
    }
    /** Forgets which directory is in use. */
    void Leave_Directory()
    {
        directory_.clear();
        wide_.clear();
    }

private:
    std::filesystem::path directory_;
    /** The same, in front of the names of files that were read. */
    std::string directory_text_;
    std::wstring wide_;
    Text_Map<Definition_File> files_;
};

/** A path from wide text, in UTF-8 where paths are bytes; empty when it has no such form. */
std::filesystem::path Wide_Path(const wchar_t* text);

/** A path from narrow text, which is UTF-8 where paths are no bytes. */
std::filesystem::path Narrow_Path(std::string_view text);

/** Tells whether a name stays below the directory that it is appended to. */
bool Stays_Inside(std::string_view name);

/** Tells whether a name is one that definition files may name: plain, without ".txt". */
bool Is_Definition_Name(std::string_view name);

/** Largest definition file that is read. */
inline constexpr std::size_t Max_Definition_File = std::size_t{16} << 20U;

/** Reads a whole file; false with the reason. */
bool Read_Text_File(const std::filesystem::path& path, std::size_t max_size, std::string& text,
                    std::string& why);
/** Takes the byte-order mark off a text. */
void Drop_Mark(std::string& text);

}  // namespace lib_dicom

#endif
