// Calls of POSIX that tests make, as far as the runtime library of Windows lacks them. Every source of the
// tests that are built for Windows begins with it.
#ifndef TESTS_ON_WINDOWS_H
#define TESTS_ON_WINDOWS_H

#include <cstdlib>
#include <cstring>

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <process.h>

inline int setenv(const char* name, const char* value, int /*overwrite*/)
{
    return _putenv_s(name, value);
}

inline int unsetenv(const char* name)
{
    return _putenv_s(name, "");
}

inline char* mkdtemp(char* name)
{
    return _mktemp_s(name, std::strlen(name) + 1) == 0 && _mkdir(name) == 0 ? name : nullptr;
}

#endif
