# Writes the IDL as the stand-in's modules carry it: every result code has its message text as help string, which the
# IDL compilers of the Windows build would refuse. Run by the build:
#   IDL, RESULT_CODES  the sources
#   OUTPUT             the IDL to write
file(READ ${IDL} text)
file(STRINGS ${RESULT_CODES} rows REGEX "^RESULT_CODE")
foreach(row IN LISTS rows)
  if(NOT row MATCHES "^RESULT_CODE\\(([A-Za-z]+), 0x[0-9A-F]+u, (\".*\")\\)$")
    message(FATAL_ERROR "not a result code: ${row}")
  endif()
  set(found " ${CMAKE_MATCH_1} = ")
  string(FIND "${text}" "${found}" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "not in the IDL: ${CMAKE_MATCH_1}")
  endif()
  string(REPLACE "${found}" " [helpstring(${CMAKE_MATCH_2})]${found}" text "${text}")
endforeach()
file(WRITE ${OUTPUT} "${text}")
