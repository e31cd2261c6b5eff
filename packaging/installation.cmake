# Installation: headers, libraries, the definition files, the tool, the CMake package, the pkg-config files.
# The components are the packages of packages.cmake.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Lib_DICOM)
install(DIRECTORY include/Lib_Util include/Lib_DICOM DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(DIRECTORY definitions/ DESTINATION ${CMAKE_INSTALL_DATADIR}/Lib_DICOM/definitions COMPONENT definitions)
set(libraries Lib_Util Lib_DICOM)
set(pkg_config_files Lib_DICOM)
if(LIB_DICOM_TOOLS)
  list(APPEND libraries Lib_DICOM_Mend)
  list(APPEND pkg_config_files Lib_DICOM_Mend)
  install(DIRECTORY include/Lib_DICOM_Mend DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
  install(TARGETS dicom-mend COMPONENT tool)
endif()
foreach(library ${libraries})
  install(TARGETS ${library} EXPORT Lib_DICOMTargets
    RUNTIME COMPONENT ${library}
    LIBRARY COMPONENT ${library} NAMELINK_COMPONENT dev
    ARCHIVE COMPONENT dev)
endforeach()
install(EXPORT Lib_DICOMTargets NAMESPACE Lib_DICOM:: DESTINATION ${package_dir} COMPONENT dev)
configure_package_config_file(cmake/Lib_DICOMConfig.cmake.in Lib_DICOMConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(Lib_DICOMConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/Lib_DICOMConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/Lib_DICOMConfigVersion.cmake DESTINATION ${package_dir} COMPONENT dev)
# They may be moved with what they describe. What a static library needs besides is private to a shared one.
set(pc_libs_of_static Libs)
if(BUILD_SHARED_LIBS)
  set(pc_libs_of_static Libs.private)
endif()
file(RELATIVE_PATH pc_include /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${CMAKE_INSTALL_INCLUDEDIR})
foreach(name ${pkg_config_files})
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

# What is inside and what it is linked with, for those who have to know (SPDX 2.3).
if(LIB_DICOM_TOOLS)
  foreach(part ZLIB CLI11 nlohmann_json)
    find_package(${part} REQUIRED)
  endforeach()
  set(link_of_zlib DYNAMIC_LINK)
  if(LIB_DICOM_STATIC_TOOL)
    set(link_of_zlib STATIC_LINK)
  endif()
  execute_process(COMMAND getconf GNU_LIBC_VERSION OUTPUT_VARIABLE sbom_c_library
    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(CMAKE_CROSSCOMPILING OR NOT sbom_c_library)
    set(sbom_c_library NOASSERTION)
  endif()
  # The time is that of the sources where the environment gives it (SOURCE_DATE_EPOCH).
  string(TIMESTAMP sbom_time %Y-%m-%dT%H:%M:%SZ UTC)
  configure_file(packaging/sbom.spdx.json.in sbom.spdx.json @ONLY)
  configure_file(packaging/copyright.in copyright @ONLY)
  if(NOT LIB_DICOM_DEBIAN)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/sbom.spdx.json ${CMAKE_CURRENT_BINARY_DIR}/copyright
      DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)
  endif()
endif()
