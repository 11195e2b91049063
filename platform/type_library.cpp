// What a real library finds by hash is found by comparing here: libraries are small.
#include "platform/type_library.h"

#include <algorithm>
#include <new>

#include "platform/type_info.h"

namespace platform {

STDMETHODIMP TypeLibrary::GetTypeInfo(UINT index, ITypeInfo** info) {
    if (!info) return E_INVALIDARG;
    if (index >= data_->types.size()) return TYPE_E_ELEMENTNOTFOUND;
    *info = new (std::nothrow) TypeInfo(data_, *data_->types[index]);
    return *info ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP TypeLibrary::GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) {
    const auto& types = data_->types;
    const auto found = std::find_if(types.begin(), types.end(), [&](const auto& type) { return type->guid == guid; });
    return GetTypeInfo(static_cast<UINT>(found - types.begin()), info);
}

STDMETHODIMP TypeLibrary::GetLibAttr(TLIBATTR** attributes) {
    if (!attributes) return E_INVALIDARG;
    *attributes = static_cast<TLIBATTR*>(CoTaskMemAlloc(sizeof(TLIBATTR)));
    if (!*attributes) return E_OUTOFMEMORY;
    **attributes = {data_->guid, data_->lcid, SYS_WIN64, data_->majorVersion, data_->minorVersion, data_->flags};
    return S_OK;
}

}  // namespace platform
