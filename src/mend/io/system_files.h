// What is asked of the system, which each system calls otherwise.
#ifndef LIB_MEND_SYSTEM_FILES_H
#define LIB_MEND_SYSTEM_FILES_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace lib_mend {

/** A path in UTF-8, or in the bytes of the system where those are its names. */
std::filesystem::path Native_Path(const std::string& path);

/** Where a path leads, without links and steps back, whether there is something or not. */
std::filesystem::path Whole_Path(const std::filesystem::path& path);

bool Is_Folder(const std::string& path);

/** True when both paths name the same existing file. */
bool Is_Same_File(const std::string& path, const std::string& other);

/** Bytes of a file; -1 when there is no plain one. */
std::int64_t File_Size(const std::string& path);

/** What stands in a folder; nothing when it cannot be read. */
std::vector<std::string> Names_In(const std::string& folder);

/** Removes a file, if there is one. */
void Remove_File(const std::string& path);

/** Opens a file for writing, which started processes do not inherit; null with errno. */
std::FILE* Open_To_Write(const std::string& path);

/** Brings what was written to the disk; false with errno. */
bool Sync_File(std::FILE* file);

/** Opens a file for reading, which started processes do not inherit; -1 with errno. */
int Open_To_Read(const std::string& path);

/** Opens what the process was given to read; -1 with errno. */
int Open_Standard_Input();

/** Reads from a place on, wherever the file is read otherwise; the number of bytes, -1 with errno. */
std::int64_t Read_At(int descriptor, void* out, std::size_t size, std::int64_t offset);

/** Tells whether a number stands for an open file. */
bool Is_Open_File(int descriptor);

/** Folders for files that are large and last for the time of the work only. */
std::vector<std::string> Folders_For_Spools();

/** Opens a file that is gone with the process, and that nobody else may read; -1 with errno. */
int Open_Without_Name(const std::string& folder);

/** Now, where the machine stands, with the offset from UTC: a value of DT. */
std::string Local_Date_Time();

}  // namespace lib_mend

#endif
