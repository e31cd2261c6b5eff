// Processes that end with the one that started them.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_PROCESSES_H
#define TOOLS_DICOM_MEND_ARCHIVE_PROCESSES_H

#include <functional>
#include <string_view>

#include <sys/types.h>

namespace dicom_mend {

/**
 * Starts a process, which leaves interruptions to the one that started it, and is killed when that dies.
 *
 * @param body  ends the process
 */
pid_t Start_Process(const std::function<void()>& body);

/** False when they cannot be written. */
bool Write_All(int descriptor, std::string_view bytes);
/** False when there are not as many. */
bool Read_All(int descriptor, char* to, std::size_t size);

/**
 * Locks a file or a folder for this run alone. The workers of a run that was killed hold its locks until they
 * have ended, which takes a moment. False when somebody else keeps it.
 */
bool Lock_Alone(int descriptor);

}  // namespace dicom_mend

#endif
