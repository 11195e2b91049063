# The resources of the Windows module: module.rc with what is generated for it. Adds them to the target
# TalvoBinaryEncoding.
include(idl)
enable_language(RC)
find_program(TALVO_WINDMC i686-w64-mingw32-windmc x86_64-w64-mingw32-windmc REQUIRED)

set(tools ${PROJECT_SOURCE_DIR}/tools)
set(resources ${PROJECT_SOURCE_DIR}/server/resources)

add_custom_command(
  OUTPUT ${TALVO_GENERATED}/messages.rc
  BYPRODUCTS ${TALVO_GENERATED}/messages_english.bin ${TALVO_GENERATED}/messages.h ${TALVO_GENERATED}/messages.mc
  COMMAND Python3::Interpreter ${tools}/message_table.py ${result_codes} ${TALVO_GENERATED}/messages.mc
  COMMAND ${TALVO_WINDMC} -h ${TALVO_GENERATED} -r ${TALVO_GENERATED} ${TALVO_GENERATED}/messages.mc
  DEPENDS ${result_codes} ${tools}/message_table.py ${tools}/result_codes.py
  VERBATIM)

set(made ${TALVO_GENERATED}/TalvoBinaryEncoding.tlb ${TALVO_GENERATED}/messages.rc)
foreach(picture toolbox control)
  add_custom_command(
    OUTPUT ${TALVO_GENERATED}/${picture}.bmp
    COMMAND Python3::Interpreter ${tools}/bitmap.py ${resources}/${picture}.drawing ${TALVO_GENERATED}/${picture}.bmp
    DEPENDS ${resources}/${picture}.drawing ${tools}/bitmap.py
    VERBATIM)
  list(APPEND made ${TALVO_GENERATED}/${picture}.bmp)
endforeach()

file(CONFIGURE OUTPUT ${TALVO_GENERATED}/module_version.h @ONLY CONTENT
"#define MODULE_VERSION_NUMBERS @PROJECT_VERSION_MAJOR@, @PROJECT_VERSION_MINOR@, @PROJECT_VERSION_PATCH@, 0
#define MODULE_VERSION_TEXT \"@PROJECT_VERSION@.0\"
")

file(GLOB scripts CONFIGURE_DEPENDS ${resources}/*.rgs)
set_source_files_properties(${resources}/module.rc PROPERTIES
  OBJECT_DEPENDS "${made};${scripts};${TALVO_GENERATED}/module_version.h"
  INCLUDE_DIRECTORIES "${TALVO_GENERATED};${resources}")
target_sources(TalvoBinaryEncoding PRIVATE ${resources}/module.rc)
add_dependencies(TalvoBinaryEncoding type_library)
