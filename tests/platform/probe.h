// The library of data/probe.idl in C++: its identifiers, and an object that writes down how it was
// called. The compiled library and a module that serves the class lie beside the test program.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <string>

#include "tests/platform/values.h"

namespace probe {

constexpr GUID kLibrary = {0x12d7ccf8, 0x2904, 0x41a3, {0xac, 0x11, 0x12, 0x98, 0x08, 0x9b, 0x49, 0x3d}};
constexpr GUID kNative = {0x827cea0c, 0x1ef1, 0x434b, {0x9c, 0xdd, 0xed, 0xc4, 0x35, 0x13, 0x80, 0x48}};
constexpr GUID kDual = {0x0e47ac5f, 0xcbd8, 0x4715, {0xa2, 0xfe, 0xb4, 0x68, 0xbe, 0x01, 0x4a, 0xf6}};
constexpr GUID kClass = {0x95ba4b2c, 0x8a3c, 0x427a, {0x84, 0x11, 0x73, 0xb6, 0xce, 0x36, 0x52, 0x3b}};
constexpr HRESULT kFailure = static_cast<HRESULT>(0x80044001);

enum Colour : LONG { pcCold = -5 };

// Its virtual members stand in the order of the virtual table. Counts its references, so that a test sees what was not
// given back.
class Probe final : public IDispatch {
public:
    std::string log;
    LONG references = 1;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        const bool known = riid == IID_IUnknown || riid == IID_IDispatch || riid == kDual;
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        return known ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    virtual STDMETHODIMP get_Count(LONG* count) { return Log("get_Count"), *count = 42, S_OK; }
    virtual STDMETHODIMP put_Count(LONG count) { return Log("put_Count " + std::to_string(count)); }
    virtual STDMETHODIMP get_Friend(IDispatch** other) { return Log("get_Friend"), AddRef(), *other = this, S_OK; }
    virtual STDMETHODIMP putref_Friend(IDispatch* other) {
        return Log(other == this ? "putref_Friend me" : other ? "?" : "putref_Friend null");
    }
    virtual STDMETHODIMP get_Colour(Colour* colour) { return Log("get_Colour"), *colour = pcCold, S_OK; }
    virtual STDMETHODIMP put_Colour(Colour colour) { return Log("put_Colour " + std::to_string(colour)); }
    virtual STDMETHODIMP put_Item(LONG index, VARIANT item) {
        return Log("put_Item " + std::to_string(index) + ' ' + Show(item));
    }
    virtual STDMETHODIMP put_WriteOnly(BSTR value) { return Log("put_WriteOnly " + Show(value)); }
    virtual STDMETHODIMP Text(BSTR text, LONG* length) {
        return *length = static_cast<LONG>(SysStringLen(text)), Log("Text " + Show(text));
    }
    virtual STDMETHODIMP Convert(VARIANT* source, VARIANT_BOOL end, VARIANT* more, VARIANT* result) {
        Log("Convert " + Show(*source) + ' ' + std::to_string(end) + ' ' + Show(*more));
        VariantClear(more);
        more->vt = VT_I4;
        more->lVal = 99;
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(OLESTR("converted"));
        return result->bstrVal ? S_OK : E_OUTOFMEMORY;
    }
    virtual STDMETHODIMP Many(BSTR s1, LONG l2, LONG l3, Colour e4, VARIANT_BOOL b5, BSTR s6, VARIANT_BOOL b7,
                              VARIANT* va8, LONG* pl9) {
        Log("Many " + Show(s1) + ' ' + std::to_string(l2) + ' ' + std::to_string(l3) + ' ' + std::to_string(e4) + ' ' +
            std::to_string(b5) + ' ' + Show(s6) + ' ' + std::to_string(b7) + ' ' + Show(*va8));
        va8->vt = VT_I4;
        va8->lVal = 8;
        *pl9 = 9;
        return S_OK;
    }
    virtual STDMETHODIMP Fail(LONG code) {
        ICreateErrorInfo* create = nullptr;
        IErrorInfo* info = nullptr;
        Log("Fail");
        if (FAILED(CreateErrorInfo(&create))) return code;
        OLECHAR source[] = OLESTR("Probe.1");
        OLECHAR description[] = OLESTR("it failed");
        OLECHAR file[] = OLESTR("probe.hlp");
        create->SetSource(source);
        create->SetDescription(description);
        create->SetHelpFile(file);
        create->SetHelpContext(12);
        if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
            SetErrorInfo(0, info);
            info->Release();
        }
        create->Release();
        return code;
    }
    virtual STDMETHODIMP Secret() { return Log("Secret"); }
    virtual STDMETHODIMP AboutBox() { return Log("AboutBox"); }
    virtual STDMETHODIMP Unnumbered() { return Log("Unnumbered"), S_FALSE; }

private:
    HRESULT Log(const std::string& line) { return log += line + ';', S_OK; }
};

// The full name of a file beside the test program.
inline probe::Text Beside(const char* name) {
    OLECHAR path[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
    probe::Text text(path, length);
    text.resize(text.find_last_of(OLESTR("/\\")) + 1);
    for (; *name; ++name) text += static_cast<OLECHAR>(*name);
    return text;
}

}  // namespace probe
