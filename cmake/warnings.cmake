# Warnings for everything that is ours. -Wnon-virtual-dtor stays off: COM interfaces have no destructor by design,
# their objects end in Release.
option(TALVO_WERROR "Treat warnings as errors" OFF)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-non-virtual-dtor)
if(TALVO_WERROR)
  add_compile_options(-Werror)
endif()
