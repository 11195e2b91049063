# add_module_resources(target TYPE ID FILE ...): embeds files in a module for the stand-in, as a resource compiler does
# on Windows, together with the message table made from the list of result codes. They become one generated source
# that defines the module's `platform_image`.
set(TALVO_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/embed_resources.cmake)

function(add_module_resources target)
  set(entries ${ARGN})
  set(files)
  set(list)
  while(entries)
    list(POP_FRONT entries type id file)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
    list(APPEND files ${file})
    list(APPEND list ${type} ${id} ${file})
  endwhile()
  set(generated ${PROJECT_BINARY_DIR}/generated/${target}_resources.cpp)
  add_custom_command(
    OUTPUT ${generated}
    COMMAND ${CMAKE_COMMAND} "-DRESOURCES=${list}" -DOUTPUT=${generated} -P ${TALVO_EMBED_SCRIPT}
    DEPENDS ${files} ${TALVO_EMBED_SCRIPT}
    COMMENT "Embedding the resources of ${target}"
    VERBATIM)
  target_sources(${target} PRIVATE ${generated})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()
