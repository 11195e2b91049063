// What the files about VARIANT share. Internal.
#pragma once

#include <oleauto.h>

namespace platform {

// DISP_E_BADVARTYPE for what is no type of a VARIANT. Records are not offered.
HRESULT CheckType(VARTYPE vt);

}  // namespace platform
