// The result codes as seen from every room: ETBError values are HRESULTs.
// Names, values and texts stand once, in result_codes.def. The IDL's enumeration repeats names and values for clients;
// server/class_table.cpp has the compiler compare the two.
#pragma once

#include <windows.h>

namespace talvo {

#define RESULT_CODE(name, value, text) inline constexpr HRESULT name = static_cast<HRESULT>(value);
#include "server/results/result_codes.def"
#undef RESULT_CODE

}  // namespace talvo
