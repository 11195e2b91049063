# A room is a folder of sources with one concern; it becomes one static library, talvo_<name>. The includes in it are
# written from the root of the repository: #include "engine/session.h".

# talvo_sources(OUT pattern...): the sources that match, relative to the root of the repository.
function(talvo_sources out)
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/)
  file(GLOB found CONFIGURE_DEPENDS ${ARGN})
  set(${out} ${found} PARENT_SCOPE)
endfunction()

# talvo_room(name SOURCES pattern... [LINKS target...]): a room without sources is made of headers alone.
# Sets talvo_<name>_scope to the scope under which further usage requirements are to be added.
function(talvo_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;LINKS")
  talvo_sources(sources ${room_SOURCES})
  if(sources)
    set(scope PUBLIC)
    add_library(talvo_${name} STATIC ${sources})
    set_target_properties(talvo_${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  else()
    set(scope INTERFACE)
    add_library(talvo_${name} INTERFACE)
  endif()
  target_include_directories(talvo_${name} ${scope} ${PROJECT_SOURCE_DIR})
  target_link_libraries(talvo_${name} ${scope} ${room_LINKS})
  if(TARGET talvo_platform)
    target_link_libraries(talvo_${name} ${scope} talvo_platform)
  endif()
  set(talvo_${name}_scope ${scope} PARENT_SCOPE)
endfunction()
