// Runs the classes' scripts from the module's resources and registers its type library.
#include "server/registration.h"

#include <objbase.h>
#include <oleauto.h>

#include <new>
#include <string>
#include <string_view>

#include "com/com_ptr.h"
#include "com/module_state.h"
#include "server/class_table.h"
#include "server/registry_script.h"

namespace talvo {
namespace {

using WidePath = std::basic_string<WCHAR>;

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
    OLECHAR classId[39];  // braces and terminator included
    if (StringFromGUID2(*entry.Class, classId, 39) == 0) return E_UNEXPECTED;
    const ScriptMark marks[] = {{"%MODULE%", modulePath},
                                {"%CLSID%", classId},
                                {"%NAME%", entry.Name},
                                {"%VERSION%", OLESTR("") TALVO_COMPONENT_VERSION}};  // the wide literal makes it one
    return RunRegistryScript({static_cast<const char*>(text), SizeofResource(instance, place)}, marks, action);
}

constexpr const WCHAR* kSeparators = OLESTR("\\/");

// The library in the module's resources, or the file of the same name ending in ".tlb".
HRESULT LoadLibraryOf(const WidePath& modulePath, WidePath& libraryPath, ITypeLib** library) {
    libraryPath = modulePath;
    if (SUCCEEDED(LoadTypeLibEx(libraryPath.c_str(), REGKIND_NONE, library))) return S_OK;
    const size_t dot = libraryPath.rfind(OLESTR('.'));
    const size_t separator = libraryPath.find_last_of(kSeparators);
    if (dot != WidePath::npos && (separator == WidePath::npos || dot > separator)) libraryPath.resize(dot);
    libraryPath += OLESTR(".tlb");
    return LoadTypeLibEx(libraryPath.c_str(), REGKIND_NONE, library);
}

// The folder of a path, without its last separator; empty when the path has none.
WidePath FolderOf(const WidePath& path) {
    const size_t separator = path.find_last_of(kSeparators);
    return separator == WidePath::npos ? WidePath() : path.substr(0, separator);
}

bool IsFolder(const WidePath& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// "Help" beside the module's folder when it is there, else the module's folder.
WidePath HelpDirectory(const WidePath& modulePath) {
    WidePath folder = FolderOf(modulePath);
    const size_t separator = folder.find_last_of(kSeparators);
    if (separator != WidePath::npos) {
        WidePath help = folder.substr(0, separator + 1) + OLESTR("Help");
        if (IsFolder(help)) return help;
    }
    return folder;
}

HRESULT RegisterLibrary(const WidePath& modulePath) {
    com::ComPtr<ITypeLib> library;
    WidePath libraryPath;
    if (const HRESULT hr = LoadLibraryOf(modulePath, libraryPath, library.Put()); FAILED(hr)) return hr;
    WidePath help = HelpDirectory(modulePath);
    return RegisterTypeLib(library.Get(), libraryPath.data(), help.data());
}

// Success as well where the platform cannot unregister a library.
HRESULT UnregisterLibrary(const WidePath& modulePath) {
    using Unregister = HRESULT(STDAPICALLTYPE*)(REFGUID, WORD, WORD, LCID, SYSKIND);
    com::ComPtr<ITypeLib> library;
    WidePath libraryPath;
    if (const HRESULT hr = LoadLibraryOf(modulePath, libraryPath, library.Put()); FAILED(hr)) return hr;
    TLIBATTR* held = nullptr;
    if (const HRESULT hr = library->GetLibAttr(&held); FAILED(hr)) return hr;
    const TLIBATTR attributes = *held;
    library->ReleaseTLibAttr(held);

    const HMODULE automation = GetModuleHandleA("oleaut32.dll");
    const FARPROC found = automation ? GetProcAddress(automation, "UnRegisterTypeLib") : nullptr;
    if (!found) return S_OK;
    const auto unregister = reinterpret_cast<Unregister>(reinterpret_cast<void*>(found));
    return unregister(attributes.guid, attributes.wMajorVerNum, attributes.wMinorVerNum, attributes.lcid,
                      attributes.syskind);
}

}  // namespace

HRESULT RegisterModule() noexcept try {
    WidePath modulePath;
    if (const HRESULT hr = ModulePath(modulePath); FAILED(hr)) return hr;
    for (const ClassEntry& entry : Classes()) {
        if (const HRESULT hr = RunClassScript(entry, modulePath, ScriptAction::Register); FAILED(hr)) return hr;
    }
    return RegisterLibrary(modulePath);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT UnregisterModule() noexcept try {
    WidePath modulePath;
    if (FAILED(ModulePath(modulePath))) return S_OK;
    for (const ClassEntry& entry : Classes())
        static_cast<void>(RunClassScript(entry, modulePath, ScriptAction::Unregister));
    static_cast<void>(UnregisterLibrary(modulePath));
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

}  // namespace talvo
