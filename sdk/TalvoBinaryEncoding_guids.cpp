// Defines the identifiers that TalvoBinaryEncoding.h declares: compile it once into each client.
// The system headers come first, so that only the library's own identifiers are defined here.
#include <windows.h>
#include <ocidl.h>
#include <ole2.h>

#include <initguid.h>

#include "TalvoBinaryEncoding.h"
