#include "server/control/windows/class_information.h"

#include <olectl.h>

#include "TalvoBinaryEncoding.h"
#include "com/module_state.h"
#include "com/object.h"

namespace talvo {
namespace {

constinit com::CachedTypeInfo g_classInfo{&CLSID_TalvoBinaryEncoding};

// Enumerates nothing, so every copy and every position is the same.
class NoConnectionPoints final : public com::Object<IEnumConnectionPoints> {
public:
    explicit NoConnectionPoints(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT FinalConstruct() noexcept { return S_OK; }

    STDMETHODIMP Next(ULONG count, IConnectionPoint** points, ULONG* fetched) noexcept override {
        if (!points || (!fetched && count != 1)) return E_POINTER;
        if (fetched) *fetched = 0;
        return count == 0 ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) noexcept override { return count == 0 ? S_OK : S_FALSE; }
    STDMETHODIMP Reset() noexcept override { return S_OK; }
    STDMETHODIMP Clone(IEnumConnectionPoints** copy) noexcept override {
        if (!copy) return E_POINTER;
        *copy = this;
        AddRef();
        return S_OK;
    }

protected:
    IUnknown* Find(REFIID iid) noexcept override { return FindAmong<IEnumConnectionPoints>(this, iid); }
};

}  // namespace

HRESULT ClassInformation::GetClassInfo(ITypeInfo** info) noexcept {
    if (!info) return E_POINTER;
    *info = nullptr;
    return com::ModuleState::Get().LoadTypeInfo(g_classInfo, info);
}

// The class has no outgoing interface that could be the default one.
HRESULT ClassInformation::GetGUID(DWORD kind, GUID* guid) noexcept {
    if (!guid) return E_POINTER;
    *guid = GUID_NULL;
    return kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID ? E_FAIL : E_INVALIDARG;
}

HRESULT ClassInformation::EnumConnectionPoints(IEnumConnectionPoints** points) noexcept {
    if (!points) return E_POINTER;
    *points = nullptr;
    return com::CreateObject<NoConnectionPoints>(nullptr, IID_IEnumConnectionPoints, reinterpret_cast<void**>(points));
}

HRESULT ClassInformation::FindConnectionPoint(REFIID, IConnectionPoint** point) noexcept {
    if (!point) return E_POINTER;
    *point = nullptr;
    return CONNECT_E_NOCONNECTION;
}

HRESULT ClassInformation::GetPages(CAUUID* pages) noexcept {
    if (!pages) return E_POINTER;
    *pages = {};
    return S_OK;
}

}  // namespace talvo
