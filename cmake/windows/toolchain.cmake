# Builds for Windows on Debian, by mingw-w64: cmake --preset windows. scripts/test_windows runs what comes of it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_CXX_FLAGS_INIT "-D_FILE_OFFSET_BITS=64 -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.")
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The libraries that Debian has as headers only.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/../headers)
set(ZLIB_LIBRARY /usr/x86_64-w64-mingw32/lib/libz.a)

# The generators of tables run here.
set(CMAKE_CROSSCOMPILING_EMULATOR env WINEDEBUG=-all /usr/lib/wine/wine64)
