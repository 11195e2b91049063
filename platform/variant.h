// What the files about VARIANT share. Internal.
#pragma once

#include <oleauto.h>

namespace platform {

// The bytes of a value; 0 for a type that no array can hold.
ULONG TypeSize(VARTYPE vt);

// DISP_E_BADVARTYPE for what is no type of a VARIANT. Records are not offered.
HRESULT CheckType(VARTYPE vt);

}  // namespace platform
