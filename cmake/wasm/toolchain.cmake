# Builds a module for browsers and Node.js on Debian, by Emscripten: cmake --preset wasm. The sources of zlib
# are those of Debian; scripts/page fetches them, and names their folder in LIB_DICOM_ZLIB_SOURCE.
set(ENV{NODE_PATH} /usr/share/nodejs)
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR} ${CMAKE_CURRENT_LIST_DIR}/../headers)
