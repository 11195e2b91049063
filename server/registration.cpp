// Runs the classes' scripts from the module's resources and registers its type library.
#include "server/registration.h"

#include <new>
#include <string_view>

#include "com/module_state.h"
#include "server/class_table.h"
#include "server/registry_script.h"
#include "server/type_library.h"

namespace talvo {
namespace {

constexpr size_t kMaxPath = 32768;  // longest path that the platform knows, terminator included

HRESULT LastError() noexcept {
    const DWORD error = GetLastError();
    return error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error);
}

// May throw bad_alloc.
HRESULT ModulePath(WidePath& path) {
    for (path.resize(MAX_PATH);; path.resize(path.size() * 2)) {
        const DWORD length =
            GetModuleFileNameW(com::ModuleState::Get().Instance(), path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) return LastError();
        if (length < path.size()) {
            path.resize(length);
            return S_OK;
        }
        if (path.size() > kMaxPath) return HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
    }
}

HRESULT RunClassScript(const ClassEntry& entry, const WidePath& modulePath, ScriptAction action) noexcept {
    const HINSTANCE instance = com::ModuleState::Get().Instance();
    const HRSRC place = FindResourceW(instance, MAKEINTRESOURCEW(entry.Script), OLESTR("REGISTRY"));
    const HGLOBAL loaded = place ? LoadResource(instance, place) : nullptr;
    const void* const text = loaded ? LockResource(loaded) : nullptr;
    if (!text) return LastError();
    return RunRegistryScript({static_cast<const char*>(text), SizeofResource(instance, place)}, modulePath, action);
}

}  // namespace

HRESULT RegisterModule() noexcept try {
    WidePath modulePath;
    if (const HRESULT hr = ModulePath(modulePath); FAILED(hr)) return hr;
    for (const ClassEntry& entry : Classes()) {
        if (const HRESULT hr = RunClassScript(entry, modulePath, ScriptAction::Register); FAILED(hr)) return hr;
    }
    return RegisterModuleTypeLibrary(modulePath);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT UnregisterModule() noexcept try {
    WidePath modulePath;
    if (FAILED(ModulePath(modulePath))) return S_OK;
    for (const ClassEntry& entry : Classes())
        static_cast<void>(RunClassScript(entry, modulePath, ScriptAction::Unregister));
    static_cast<void>(UnregisterModuleTypeLibrary(modulePath));
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

}  // namespace talvo
