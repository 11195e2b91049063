# Writes the source that defines a module's `platform_image`. Run by the build (see resources.cmake):
#   RESOURCES  type, number and file of each resource, in turn
#   OUTPUT     the source to write
set(arrays "")
set(rows "")
set(count 0)
while(RESOURCES)
  list(POP_FRONT RESOURCES type id file)
  file(READ ${file} bytes HEX)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "(................................................................................)" "\\1\n    "
    bytes "${bytes}")
  string(APPEND arrays "const unsigned char kResource${count}[] = {\n    ${bytes}\n};\n")
  string(APPEND rows "    {u\"${type}\", ${id}, kResource${count}, sizeof kResource${count}},\n")
  math(EXPR count "${count} + 1")
endwhile()
math(EXPR total "${count} + 1")

file(WRITE ${OUTPUT} "// Generated: the resources of a module, as the stand-in reads them.
#include <windows.h>

#include <platform_image.h>

namespace {

${arrays}
const PlatformMessage kMessages[] = {
#define RESULT_CODE(name, value, text) {value, text},
#include \"server/results/result_codes.def\"
#undef RESULT_CODE
};

const PlatformResource kResources[] = {
${rows}    {reinterpret_cast<const char16_t*>(RT_MESSAGETABLE), 1, kMessages, sizeof kMessages},
};

}  // namespace

const PlatformImage platform_image = {kResources, ${total}};
")
