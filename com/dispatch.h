// The four IDispatch methods of a dual interface, served from the registered type library.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <oleauto.h>

#include "com/com_ptr.h"
#include "com/module_state.h"

namespace com {

template <class Dual>
inline constinit CachedTypeInfo g_typeInfo{&__uuidof(Dual)};

// `Next` is an Object that has `Dual` among its interfaces.
template <class Next, class Dual>
class Dispatch : public Next {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept override {
        if (!info) return E_POINTER;
        *info = nullptr;
        return index == 0 ? Load(info) : DISP_E_BADINDEX;
    }
    STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept override {
        if (!IsEqualIID(reserved, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
        ComPtr<ITypeInfo> info;
        if (const HRESULT hr = Load(info.Put()); FAILED(hr)) return hr;
        return info->GetIDsOfNames(names, count, ids);
    }
    STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                        EXCEPINFO* exception, UINT* badArgument) noexcept override {
        if (!IsEqualIID(reserved, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
        ComPtr<ITypeInfo> info;
        if (const HRESULT hr = Load(info.Put()); FAILED(hr)) return hr;
        return info->Invoke(static_cast<Dual*>(this), member, flags, arguments, result, exception, badArgument);
    }

protected:
    using Next::Next;

private:
    static HRESULT Load(ITypeInfo** info) noexcept { return ModuleState::Get().LoadTypeInfo(g_typeInfo<Dual>, info); }
};

}  // namespace com
