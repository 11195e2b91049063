// Encodes a few bytes to Base64 text with the registered component.
#include <windows.h>
#include <objbase.h>

#include <cstdio>

#include "TalvoBinaryEncoding.h"
#include "com/com_ptr.h"

static HRESULT EncodeAndPrint(const BYTE* bytes, DWORD count) {
    com::ComPtr<ITalvoEncodeData> format;
    HRESULT hr = CoCreateInstance(CLSID_TalvoBase64EncodingFormat, nullptr, CLSCTX_INPROC_SERVER,
                                  __uuidof(ITalvoEncodeData), format.PutVoid());
    if (FAILED(hr)) return hr;

    com::ComPtr<ITalvoBinaryEncoding> component;
    hr = CoCreateInstance(CLSID_TalvoBinaryEncoding, nullptr, CLSCTX_INPROC_SERVER, __uuidof(ITalvoBinaryEncoding),
                          component.PutVoid());
    if (FAILED(hr)) return hr;
    component->putref_EncodingFormat(format.Get());

    BYTE* text = nullptr;  // ours once Encode succeeds
    DWORD size = 0;
    hr = component->Encode(bytes, count, TRUE, &text, &size);  // TRUE: there is no more data
    if (FAILED(hr)) return hr;
    std::printf("%.*s\n", static_cast<int>(size), reinterpret_cast<const char*>(text));
    CoTaskMemFree(text);
    return S_OK;
}

int main() {
    const BYTE bytes[] = {'H', 'e', 'l', 'l', 'o', ',', ' ', 0x00, 0xFF, '!'};
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
    const HRESULT hr = EncodeAndPrint(bytes, sizeof bytes);
    CoUninitialize();
    if (FAILED(hr)) std::fprintf(stderr, "It failed: 0x%08X\n", static_cast<unsigned>(hr));
    return FAILED(hr) ? 1 : 0;
}
