// What the system says about a file, as one of the server's result codes.
#pragma once

#include <windows.h>

namespace talvo {

// The result code that stands for a system error; `otherwise` for errors that have no code of their own, 0 included.
HRESULT MapFileError(DWORD error, HRESULT otherwise) noexcept;

}  // namespace talvo
