// The system's own message texts. Internal.
#pragma once

#include <windows.h>

namespace platform {

// The English text of a Windows error code or HRESULT, without a line end; null if there is none here.
const char* SystemMessage(DWORD id);

}  // namespace platform
