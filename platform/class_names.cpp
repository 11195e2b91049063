// Names of classes: ProgID\CLSID, ProgID\CurVer of a version-independent name, and CLSID\{...}\ProgID the other way.
#include <windows.h>
#include <objbase.h>

#include <cstring>
#include <new>

#include "platform/registered_text.h"

namespace platform {
namespace {

HRESULT FindClassId(std::u16string_view name, CLSID* clsid) {
    std::u16string text;
    LONG code = ReadClassesText({name, u"CLSID"}, text);
    std::u16string current;
    if (code == ERROR_FILE_NOT_FOUND) {
        code = ReadClassesText({name, u"CurVer"}, current);
        if (code == ERROR_SUCCESS) code = ReadClassesText({current, u"CLSID"}, text);
    }
    if (code == ERROR_FILE_NOT_FOUND) return CO_E_CLASSSTRING;
    if (code != ERROR_SUCCESS) return REGDB_E_READREGDB;
    return SUCCEEDED(IIDFromString(text.c_str(), clsid)) ? S_OK : CO_E_CLASSSTRING;
}

HRESULT FindProgId(REFCLSID clsid, LPOLESTR* result) {
    std::u16string name;
    if (const HRESULT hr = ReadClassEntry(clsid, u"ProgID", name); FAILED(hr)) return hr;
    const size_t size = (name.size() + 1) * sizeof(OLECHAR);
    *result = static_cast<LPOLESTR>(CoTaskMemAlloc(size));
    if (!*result) return E_OUTOFMEMORY;
    std::memcpy(*result, name.c_str(), size);
    return S_OK;
}

}  // namespace
}  // namespace platform

WINOLEAPI CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid) {
    if (!lpszProgID || !lpclsid) return E_INVALIDARG;
    *lpclsid = GUID_NULL;
    return platform::OrOutOfMemory([&] { return platform::FindClassId(lpszProgID, lpclsid); });
}

WINOLEAPI ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID) {
    if (!lplpszProgID) return E_INVALIDARG;
    *lplpszProgID = nullptr;
    return platform::OrOutOfMemory([&] { return platform::FindProgId(clsid, lplpszProgID); });
}
