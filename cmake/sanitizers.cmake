# TALVO_SANITIZE names the sanitizers of the whole build ("address,undefined" or "thread"); the first report ends the
# program, so a test that triggers one fails.
set(TALVO_SANITIZE "" CACHE STRING "Sanitizers to build with, as given to -fsanitize=")

if(TALVO_SANITIZE)
  add_compile_options(-fsanitize=${TALVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # Enumeration parameters of the interfaces hold whatever a client passes; refusing it is what the methods are there for.
  if(TALVO_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=enum)
  endif()
  # With checks in between, gcc 12 no longer sees that the standard library's own variables are initialised.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${TALVO_SANITIZE})
endif()
