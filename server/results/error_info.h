// How a result code becomes error information of the calling thread.
#pragma once

#include <windows.h>

namespace talvo {

// Publishes error information for `code` on behalf of the class and returns `code` unchanged. The description is the
// code's text from the module's message table or from the system, the source the ProgID registered for the class, the
// interface GUID_NULL. A failure in here is ignored.
HRESULT ReportError(REFCLSID classId, HRESULT code) noexcept;

// Sets the thread's error information to none.
void ClearError() noexcept;

// The one way out of a method that leaves error information behind: clears it on S_OK, else reports. Returns `code`.
HRESULT Publish(REFCLSID classId, HRESULT code) noexcept;

}  // namespace talvo
