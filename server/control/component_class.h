// The component as the module creates it: with its presentation as a control where the platform has forms to place one
// on (windows/), else without (plain/).
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace talvo {

// As com::CreateObject.
HRESULT CreateComponent(IUnknown* outer, REFIID iid, void** object) noexcept;

}  // namespace talvo
