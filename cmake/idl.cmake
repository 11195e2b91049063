# What the Windows build makes of the IDL: the type library of the module, with a help string for every result code, and
# the header anew, to compare with the committed one. ./dev idl commits both, the library as its record.
# Relies on widl (package mingw-w64-tools) with the system's IDL files (libwine-dev) and stdole2.tlb (libwine), and on
# python3 for our own step.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  find_program(TALVO_WIDL x86_64-w64-mingw32-widl REQUIRED)
  set(TALVO_WIDL_WIDTH -m64)
else()
  find_program(TALVO_WIDL i686-w64-mingw32-widl REQUIRED)
  set(TALVO_WIDL_WIDTH -m32)
endif()
find_path(TALVO_SYSTEM_IDL oaidl.idl REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS /usr/include/wine/wine/windows /usr/include/wine/windows
  DOC "Folder of the system's IDL files")
file(GLOB talvo_wine_folders /usr/lib/*/wine/*-windows /usr/lib/wine/*-windows)
find_path(TALVO_SYSTEM_TYPELIBS stdole2.tlb REQUIRED NO_CMAKE_FIND_ROOT_PATH PATHS ${talvo_wine_folders}
  DOC "Folder of the system's type libraries")

set(idl ${PROJECT_SOURCE_DIR}/sdk/TalvoBinaryEncoding.idl)
set(result_codes ${PROJECT_SOURCE_DIR}/server/results/result_codes.def)
set(TALVO_GENERATED ${PROJECT_BINARY_DIR}/generated)
file(MAKE_DIRECTORY ${TALVO_GENERATED}/sdk)
set(widl ${TALVO_WIDL} ${TALVO_WIDL_WIDTH} -I ${TALVO_SYSTEM_IDL} -L ${TALVO_SYSTEM_TYPELIBS})

# The guard in the header is made of the output's name, so that must be the committed header's.
add_custom_command(
  OUTPUT ${TALVO_GENERATED}/sdk/TalvoBinaryEncoding.h
  COMMAND ${widl} -h -o ${TALVO_GENERATED}/sdk/TalvoBinaryEncoding.h TalvoBinaryEncoding.idl
  DEPENDS ${idl}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/sdk
  VERBATIM)
add_custom_target(generated_header ALL DEPENDS ${TALVO_GENERATED}/sdk/TalvoBinaryEncoding.h)

add_custom_command(
  OUTPUT ${TALVO_GENERATED}/compiled.tlb
  COMMAND ${widl} -t -o ${TALVO_GENERATED}/compiled.tlb TalvoBinaryEncoding.idl
  DEPENDS ${idl}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/sdk
  VERBATIM)
add_custom_command(
  OUTPUT ${TALVO_GENERATED}/TalvoBinaryEncoding.tlb
  COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tools/type_library_help.py ${TALVO_GENERATED}/compiled.tlb
    ${result_codes} ${TALVO_GENERATED}/TalvoBinaryEncoding.tlb
  DEPENDS ${TALVO_GENERATED}/compiled.tlb ${result_codes}
    ${PROJECT_SOURCE_DIR}/tools/type_library_help.py ${PROJECT_SOURCE_DIR}/tools/result_codes.py
  VERBATIM)
add_custom_target(type_library DEPENDS ${TALVO_GENERATED}/TalvoBinaryEncoding.tlb)
