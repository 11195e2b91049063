# The in-process server: all rooms in one loadable module, with the exports of such a module and nothing else.
add_library(TalvoBinaryEncoding MODULE)
target_link_libraries(TalvoBinaryEncoding PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,talvo_server>)

if(WIN32)
  set_target_properties(TalvoBinaryEncoding PROPERTIES PREFIX "")
  target_sources(TalvoBinaryEncoding PRIVATE server/exports.def)
  include(windows_resources)
  target_link_options(TalvoBinaryEncoding PRIVATE -Wl,--enable-stdcall-fixup -Wl,--kill-at -s)
else()
  # The version script decides what is exported; the entry functions must be visible for it to find them.
  set_target_properties(talvo_server PROPERTIES CXX_VISIBILITY_PRESET default)
  target_link_libraries(TalvoBinaryEncoding PRIVATE platform_module_entry)
  target_link_options(TalvoBinaryEncoding PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/module.exports)
  set_target_properties(TalvoBinaryEncoding PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/module.exports)
  if(NOT TALVO_SANITIZE)  # what a sanitizer needs comes with the program that loads the module
    target_link_options(TalvoBinaryEncoding PRIVATE -Wl,-z,defs)
  endif()
  add_module_resources(TalvoBinaryEncoding
    TYPELIB 1 sdk/TalvoBinaryEncoding.typelib.txt
    REGISTRY 102 server/resources/component.rgs
    REGISTRY 103 server/resources/format.rgs)
endif()
