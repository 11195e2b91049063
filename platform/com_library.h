// Whether the calling thread may use class objects.
#pragma once

#include <windows.h>
#include <objbase.h>

namespace platform {

bool IsComInitialized();

}  // namespace platform
