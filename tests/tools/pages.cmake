# The commands, options and code of the documentation do what its pages say.
file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md
  ${PROJECT_SOURCE_DIR}/python/*.md ${PROJECT_SOURCE_DIR}/page/library/*.md)
if(NOT LIB_DICOM_SANITIZE)
  add_test(NAME commands_of_pages_print_what_they_say
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/pages.py $<TARGET_FILE:dicom-mend> ${pages})
endif()
add_test(NAME readme_says_what_the_tool_says
  COMMAND ${PROJECT_SOURCE_DIR}/scripts/readme --check $<TARGET_FILE:dicom-mend>)
add_test(NAME clauses_of_the_page_on_definitions_are_taken
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/clauses_of_definitions.py $<TARGET_FILE:dicom-mend>
  ${PROJECT_SOURCE_DIR}/docs/definitions.md)

# Readers paste code of theirs between the lines, which keeps no account of memory.
if(BUILD_SHARED_LIBS AND NOT LIB_DICOM_SANITIZE)
  enable_language(C)
  set(code_of_pages ${CMAKE_CURRENT_LIST_DIR}/code_of_pages.py)
  foreach(language c cpp)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/code_of_pages.${language})
    add_custom_command(OUTPUT ${source}
      COMMAND ${code_of_pages} ${language} ${pages} > ${source}
      DEPENDS ${code_of_pages} ${pages})
    add_executable(code_of_pages_${language} ${source})
    target_compile_features(code_of_pages_${language} PRIVATE cxx_std_20)
    target_link_libraries(code_of_pages_${language} PRIVATE Lib_DICOM Lib_DICOM_Mend)
    add_test(NAME code_of_pages_in_${language} COMMAND sh -c
      "rm -rf $1 && mkdir $1 && cd $1 && cp $2 old.dcm && $3 && test -s new.dcm"
      sh ${CMAKE_CURRENT_BINARY_DIR}/pages_${language} ${PROJECT_SOURCE_DIR}/examples/damaged.dcm
      $<TARGET_FILE:code_of_pages_${language}>)
  endforeach()
  add_test(NAME code_of_pages_in_python COMMAND ${SYSTEM_PYTHON} ${code_of_pages} python
    $<TARGET_FILE:Lib_DICOM_Mend> ${PROJECT_SOURCE_DIR}/examples/damaged.dcm ${pages})
endif()
