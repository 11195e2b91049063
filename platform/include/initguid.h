// Included before other headers, makes every DEFINE_GUID in them a definition.
#define INITGUID
#include <guiddef.h>
