// See module_fixture.h.
#include "tests/support/module/module_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <ostream>

namespace talvo::test {
namespace {

constexpr const char* kStale = "stale";

bool Done(const char* what, HRESULT code) {
    if (FAILED(code)) std::fprintf(stderr, "%s: %s\n", what, Name(code).c_str());
    return SUCCEEDED(code);
}

HRESULT CallExport(HMODULE module, const char* name) { return Export<HRESULT STDAPICALLTYPE()>(module, name)(); }

}  // namespace

std::string TakeError() {
    com::ComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, error.Put()) != S_OK) return "none";
    com::UniqueBstr source, description;
    GUID guid = IID_IUnknown;
    error->GetSource(source.Put());
    error->GetDescription(description.Put());
    error->GetGUID(&guid);
    if (Narrow(source) == kStale) return kStale;
    return Narrow(source) + ": " + Narrow(description) + (IsEqualGUID(guid, GUID_NULL) ? "" : " " + GuidText(guid));
}

void LeaveStaleError() {
    com::ComPtr<ICreateErrorInfo> creator;
    com::ComPtr<IErrorInfo> error;
    if (FAILED(CreateErrorInfo(creator.Put()))) return;
    WideText source = Widen(kStale);
    creator->SetSource(source.data());
    if (SUCCEEDED(creator.As(error))) SetErrorInfo(0, error.Get());
}

std::string ErrorOf(std::string_view progId, HRESULT code) {
    return code == S_OK ? "none" : std::string(progId) + ": " + MessageText(code);
}

Module& Module::Get() {
    static Module module;
    return module;
}

bool Module::Start() {
    const char* const path = std::getenv("TALVO_MODULE");
    // The registry of the person who runs the tests is never touched.
    if (!path || !std::getenv("TALVO_REGISTRY"))
        return Done("TALVO_MODULE must name the module, TALVO_REGISTRY a registry file for the tests", E_INVALIDARG);
    if (!Load(path)) return Done("the module cannot be loaded", HRESULT_FROM_WIN32(GetLastError()));
    return Done("the module cannot be registered", Register());
}

bool Module::Load(std::string_view path) {
    handle_ = LoadLibraryW(Widen(path).c_str());
    char full[1024];
    path_.assign(full, handle_ ? GetModuleFileNameA(handle_, full, sizeof(full)) : 0);
    return handle_ != nullptr;
}

bool Module::Stop() {
    return Done("the module cannot be unregistered", Unregister()) &&
           Done("objects of the module are still alive", CanUnload() ? S_OK : E_UNEXPECTED);
}

HRESULT Module::ClassObject(REFCLSID clsid, REFIID iid, void** object) const {
    return Export<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>(handle_, "DllGetClassObject")(clsid, iid, object);
}

bool Module::CanUnload() const { return CallExport(handle_, "DllCanUnloadNow") == S_OK; }
HRESULT Module::Register() const { return CallExport(handle_, "DllRegisterServer"); }
HRESULT Module::Unregister() const { return CallExport(handle_, "DllUnregisterServer"); }

std::ostream& operator<<(std::ostream& out, const Converted& converted) {
    return out << converted.Code << " \"" << converted.Bytes << "\" consumed " << converted.Consumed;
}

std::string TakeBlock(BYTE* block, DWORD size) {
    if (!block) return size == 0 ? "" : "(null with a size)";
    const std::string bytes(reinterpret_cast<const char*>(block), size);
    CoTaskMemFree(block);
    return size == 0 ? "(block of 0)" : bytes;
}

static const BYTE* Data(std::string_view source) {
    return source.empty() ? nullptr : reinterpret_cast<const BYTE*>(source.data());
}

static BYTE g_garbage;  // out parameters point here before a call

Converted Process(ITalvoProcessData* processor, std::string_view source, bool end, DWORD header, DWORD footer) {
    BYTE* block = &g_garbage;
    DWORD size = 0xCCCCCCCC;
    const HRESULT hr =
        processor->Process(Data(source), static_cast<DWORD>(source.size()), end, header, footer, &block, &size);
    return {Name(hr), TakeBlock(block, size), 0};
}

Converted Revert(ITalvoProcessData* processor, std::string_view source, bool end) {
    BYTE* block = &g_garbage;
    DWORD size = 0xCCCCCCCC;
    DWORD consumed = 0xCCCCCCCC;
    const HRESULT hr =
        processor->Revert(Data(source), static_cast<DWORD>(source.size()), end, &block, &size, &consumed);
    return {Name(hr), TakeBlock(block, size), consumed};
}

}  // namespace talvo::test
