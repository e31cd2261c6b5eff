// Makes the n-th allocation or system call of the code under test fail, and counts what it holds.
//
// The executable is linked with --wrap for the C heap and the system calls, so that this works for
// every object in it whatever the compiler and the sanitizer are; operator new is replaced, which
// reaches into the C++ library too. Valgrind leaves operator new alone when it is told to:
// --soname-synonyms=somalloc=nouserintercepts
#ifndef TESTS_FAULT_INJECTION_H
#define TESTS_FAULT_INJECTION_H

#include <Lib_DICOM/dictionary.h>

#include <cstddef>

namespace fault {

enum class Point {
    Memory,  ///< malloc, calloc, realloc, new
    Open,    ///< open, mkostemp
    Read,    ///< read, pread, fstat
    Seek,    ///< lseek
    Write,   ///< write, fsync, fchmod, close
    Rename,  ///< rename, renameat2
    Count
};

enum class Kind {
    Error,        ///< this call fails
    From_Now_On,  ///< this call and all behind it fail
    Short,        ///< this read or write does a part of its work
    Interrupted   ///< this call fails with EINTR
};

/** While it lives, the n-th passage through a point fails, counted from 1. */
class Injection {
public:
    Injection(Point point, long n, Kind kind = Kind::Error, int error = 0);
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;
    ~Injection();

    /** Tells whether the n-th passage has come. */
    bool Struck() const;
};

/** Code of the test itself, which neither fails nor is counted as a passage. */
class Pause {
public:
    Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
    ~Pause();

private:
    bool was_armed_;
};

/** Number of blocks that are allocated now, by the test too. */
std::size_t Live_Blocks();
/** Bytes allocated now, and the most since Reset_Peak. */
std::size_t Live_Bytes();
std::size_t Peak_Bytes();
void Reset_Peak();

/** Has every entry of the dictionary in memory, which is read when it is asked for. */
inline void Load_Dictionary()
{
    NEMA_db_Find("no entry has this name", nullptr);
}

}  // namespace fault

#endif
