# Debian's packages, one for each component; scripts/packages makes them.
set(CPACK_GENERATOR DEB)
# Who makes packages says what is built.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGE_NAME lib-dicom)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${LIB_DICOM_CONTACT})
set(CPACK_DEBIAN_PACKAGE_SOURCE lib-dicom)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(release ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(major ${PROJECT_VERSION_MAJOR})

# Each package tells its changes and its licence.
string(TIMESTAMP changed "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/debian/changelog.in changelog.Debian @ONLY)
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND ${GZIP} -9nkf ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)

# lib_dicom_package(component NAME name SECTION section SUMMARY text DESCRIPTION text [DEPENDS ...])
function(lib_dicom_package component)
  cmake_parse_arguments(PARSE_ARGV 1 of "LINKED;ANY_MACHINE" "NAME;SECTION;SUMMARY;DESCRIPTION;DEPENDS" "CONTROL")
  string(TOUPPER ${component} key)
  macro(put variable value)
    set(${variable} "${value}" PARENT_SCOPE)
  endmacro()
  put(CPACK_DEBIAN_${key}_PACKAGE_NAME ${of_NAME})
  put(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${of_SECTION})
  put(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${of_DEPENDS}")
  put(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${of_CONTROL}")
  put(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ${of_LINKED})
  put(CPACK_DEBIAN_${key}_DESCRIPTION "${of_SUMMARY}\n${of_DESCRIPTION}")
  if(of_ANY_MACHINE)
    put(CPACK_DEBIAN_${key}_PACKAGE_ARCHITECTURE all)
  endif()
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz ${CMAKE_CURRENT_BINARY_DIR}/copyright
    ${CMAKE_CURRENT_BINARY_DIR}/sbom.spdx.json DESTINATION share/doc/${of_NAME} COMPONENT ${component})
endfunction()

# A shared library tells its users which package they need, and has the loader's cache made anew.
function(lib_dicom_library_package library name)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/control/${library})
  file(WRITE ${folder}/shlibs "lib${library} ${PROJECT_VERSION_MAJOR} ${name} (>= ${PROJECT_VERSION})\n")
  file(WRITE ${folder}/triggers "activate-noawait ldconfig\n")
  lib_dicom_package(${library} NAME ${name} SECTION libs LINKED CONTROL ${folder}/shlibs ${folder}/triggers ${ARGN})
  string(TOUPPER ${library} key)
  foreach(part PACKAGE_NAME PACKAGE_SECTION PACKAGE_DEPENDS PACKAGE_CONTROL_EXTRA PACKAGE_SHLIBDEPS)
    set(CPACK_DEBIAN_${key}_${part} "${CPACK_DEBIAN_${key}_${part}}" PARENT_SCOPE)
  endforeach()
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${CPACK_DEBIAN_${key}_DESCRIPTION}" PARENT_SCOPE)
endfunction()

set(about "Lib_DICOM reads damaged DICOM files, says what is wrong with them,
mends them, completes them and writes clean Part 10 files.")
set(summary "reads and mends DICOM files")
lib_dicom_library_package(Lib_Util liblib-util${major}
  SUMMARY "${summary}: messages and byte orders"
  DESCRIPTION "${about}\nThis package holds what its other libraries share.")
lib_dicom_library_package(Lib_DICOM liblib-dicom${major}
  SUMMARY "${summary}: the flat interface"
  DESCRIPTION "${about}\nThis package holds the library for single elements."
  DEPENDS "liblib-util${major} (= ${release}), lib-dicom-definitions (= ${release})")
lib_dicom_library_package(Lib_DICOM_Mend liblib-dicom-mend${major}
  SUMMARY "${summary}: whole files"
  DESCRIPTION "${about}\nThis package holds the library for whole files, for C and C++."
  DEPENDS "liblib-dicom${major} (= ${release})")
lib_dicom_package(dev NAME liblib-dicom-dev SECTION libdevel
  SUMMARY "${summary}: development files"
  DESCRIPTION "${about}\nThis package holds headers, and files for CMake and pkg-config."
  DEPENDS "liblib-dicom-mend${major} (= ${release})")
lib_dicom_package(definitions NAME lib-dicom-definitions SECTION science ANY_MACHINE
  SUMMARY "${summary}: definition files"
  DESCRIPTION "${about}\nThis package holds what the standard requires of each kind of object,
private elements, and context groups.")
lib_dicom_package(tool NAME dicom-mend SECTION science LINKED
  SUMMARY "reads, checks and mends damaged DICOM files"
  DESCRIPTION "${about}\nThis package holds the command line, its manual, and completion for
bash, zsh and fish."
  DEPENDS "lib-dicom-definitions (= ${release})")
install(DIRECTORY python/dicom_mend DESTINATION lib/python3/dist-packages COMPONENT python
  FILES_MATCHING PATTERN *.py PATTERN py.typed)
lib_dicom_package(python NAME python3-dicom-mend SECTION python ANY_MACHINE
  SUMMARY "${summary}: Python package"
  DESCRIPTION "${about}\nThis package is its interface in Python."
  DEPENDS "python3:any, liblib-dicom-mend${major} (>= ${PROJECT_VERSION})"
  CONTROL ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/postinst ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/prerm)
set(CPACK_COMPONENTS_ALL ${libraries} dev definitions tool python)
include(CPack)
