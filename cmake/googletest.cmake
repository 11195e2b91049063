# GoogleTest: installed, or for a cross build made here from the sources that a distribution installs (package
# googletest). Our warnings are not for it.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest REQUIRED)
  return()
endif()

find_path(TALVO_GOOGLETEST_SOURCES googletest/CMakeLists.txt REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS /usr/src/googletest DOC "Sources of GoogleTest")
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
get_directory_property(options COMPILE_OPTIONS)
set_directory_properties(PROPERTIES COMPILE_OPTIONS "")
set(CMAKE_CXX_EXTENSIONS ON)  # it calls functions that mingw hides from plain C++
add_subdirectory(${TALVO_GOOGLETEST_SOURCES} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
set(CMAKE_CXX_EXTENSIONS OFF)
set_directory_properties(PROPERTIES COMPILE_OPTIONS "${options}")
