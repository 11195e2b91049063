// Encodes a few bytes to Base64 text with the registered component.
#include <windows.h>
#include <objbase.h>

#include <cstdio>
#include <memory>

#include "TalvoBinaryEncoding.h"

// Holds one reference to an object and releases it at the end of its scope.
struct Release {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Owner = std::unique_ptr<Interface, Release>;

template <class Interface>
static HRESULT Create(REFCLSID clsid, Owner<Interface>& owner) {
    void* object = nullptr;
    const HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), &object);
    owner.reset(static_cast<Interface*>(object));
    return hr;
}

static HRESULT EncodeAndPrint(const BYTE* bytes, DWORD count) {
    Owner<ITalvoEncodeData> format;
    Owner<ITalvoBinaryEncoding> component;
    HRESULT hr = Create(CLSID_TalvoBase64EncodingFormat, format);
    if (SUCCEEDED(hr)) hr = Create(CLSID_TalvoBinaryEncoding, component);
    if (SUCCEEDED(hr)) hr = component->putref_EncodingFormat(format.get());
    if (FAILED(hr)) return hr;

    BYTE* text = nullptr;  // ours once Encode has succeeded
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
