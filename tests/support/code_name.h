// Result codes by name, so that a failed comparison can be read.
#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

#include "server/results/result_codes.h"

namespace talvo::test {

inline std::string CodeName(HRESULT code) {
    static const struct {
        HRESULT code;
        const char* name;
    } kNames[] = {
#define RESULT_CODE(name, value, text) {static_cast<HRESULT>(value), #name},
#include "server/results/result_codes.def"
#undef RESULT_CODE
        {S_OK, "S_OK"},
        {S_FALSE, "S_FALSE"},
        {E_POINTER, "E_POINTER"},
        {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
    };
    for (const auto& row : kNames) {
        if (row.code == code) return row.name;
    }
    char text[12];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(static_cast<DWORD>(code)));
    return text;
}

}  // namespace talvo::test
