// Finds, registers and unregisters the type library.
#include "server/type_library.h"

#include <oleauto.h>

#include "com/com_ptr.h"

namespace talvo {
namespace {

constexpr const WCHAR* kSeparators = OLESTR("\\/");

HRESULT LoadModuleTypeLibrary(const WidePath& modulePath, WidePath& libraryPath, ITypeLib** library) {
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

class LibraryAttributes {
public:
    explicit LibraryAttributes(ITypeLib& library) : library_(library) {
        static_cast<void>(library.GetLibAttr(&attributes_));
    }
    ~LibraryAttributes() {
        if (attributes_) library_.ReleaseTLibAttr(attributes_);
    }
    LibraryAttributes(const LibraryAttributes&) = delete;
    LibraryAttributes& operator=(const LibraryAttributes&) = delete;
    const TLIBATTR* Get() const { return attributes_; }

private:
    ITypeLib& library_;
    TLIBATTR* attributes_ = nullptr;
};

}  // namespace

WidePath HelpDirectory(const WidePath& modulePath) {
    WidePath folder = FolderOf(modulePath);
    const size_t separator = folder.find_last_of(kSeparators);
    if (separator != WidePath::npos) {
        WidePath help = folder.substr(0, separator + 1) + OLESTR("Help");
        if (IsFolder(help)) return help;
    }
    return folder;
}

HRESULT RegisterModuleTypeLibrary(const WidePath& modulePath) {
    com::ComPtr<ITypeLib> library;
    WidePath libraryPath;
    if (const HRESULT hr = LoadModuleTypeLibrary(modulePath, libraryPath, library.Put()); FAILED(hr)) return hr;
    WidePath help = HelpDirectory(modulePath);
    return RegisterTypeLib(library.Get(), libraryPath.data(), help.data());
}

HRESULT UnregisterModuleTypeLibrary(const WidePath& modulePath) {
    using Unregister = HRESULT(STDAPICALLTYPE*)(REFGUID, WORD, WORD, LCID, SYSKIND);
    com::ComPtr<ITypeLib> library;
    WidePath libraryPath;
    if (const HRESULT hr = LoadModuleTypeLibrary(modulePath, libraryPath, library.Put()); FAILED(hr)) return hr;
    const LibraryAttributes attributes(*library.Get());
    if (!attributes.Get()) return E_OUTOFMEMORY;

    const HMODULE automation = GetModuleHandleA("oleaut32.dll");
    const FARPROC found = automation ? GetProcAddress(automation, "UnRegisterTypeLib") : nullptr;
    if (!found) return S_OK;
    const auto unregister = reinterpret_cast<Unregister>(reinterpret_cast<void*>(found));
    return unregister(attributes.Get()->guid, attributes.Get()->wMajorVerNum, attributes.Get()->wMinorVerNum,
                      attributes.Get()->lcid, attributes.Get()->syskind);
}

}  // namespace talvo
