// Modules are shared objects of this system. A module's handle is an address inside it: that of its platform_image, or of
// its dynamic section where it has none; the loader tells from the address which object it is. Relies on the C library's
// handles being its records of the loaded objects.
#include <windows.h>

#include <platform_image.h>

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "platform/last_error.h"
#include "platform/wide_text.h"

namespace {

using platform::Fail;
using platform::OrOutOfMemory;

thread_local int unloading = 0;  // calls of FreeLibrary that this thread is inside

link_map* ObjectAt(const void* address) {
    Dl_info info;
    void* map = nullptr;
    return address && dladdr1(address, &info, &map, RTLD_DL_LINKMAP) ? static_cast<link_map*>(map) : nullptr;
}

// The program has no handle of its own in most calls: null stands for it.
link_map* ObjectOf(HMODULE module) {
    if (module) return ObjectAt(module);
    static auto* program = static_cast<link_map*>(dlopen(nullptr, RTLD_LAZY));
    return program;
}

link_map* StandIn() { return ObjectAt(reinterpret_cast<const void*>(&LoadLibraryA)); }

// A symbol of this very object: a lookup by handle also searches what the object depends on. An object that came as a
// part of another has no scope to search until it is opened itself.
void* OwnSymbol(link_map* object, const char* name) {
    void* handle = dlopen(*object->l_name ? object->l_name : nullptr, RTLD_LAZY | RTLD_NOLOAD);
    if (!handle) return nullptr;
    void* symbol = dlsym(handle, name);
    dlclose(handle);
    return ObjectAt(symbol) == object ? symbol : nullptr;
}

const PlatformImage* ImageOf(HMODULE module) {
    link_map* object = ObjectOf(module);
    return object ? static_cast<const PlatformImage*>(OwnSymbol(object, "platform_image")) : nullptr;
}

HMODULE HandleOf(link_map* object) {
    void* image = OwnSymbol(object, "platform_image");
    return static_cast<HMODULE>(image ? image : object->l_ld);
}

// The stand-in is all of these.
bool IsSystemLibrary(std::string name) {
    for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    if (name.ends_with(".dll")) name.resize(name.size() - 4);
    return name == "kernel32" || name == "advapi32" || name == "ole32" || name == "oleaut32";
}

std::string FileNameOf(link_map* object) {
    char path[PATH_MAX];
    return realpath(*object->l_name ? object->l_name : "/proc/self/exe", path) ? path : object->l_name;
}

// A bare name is looked for beside the program first, then where the loader looks. A path becomes absolute, so that it
// still names the module's file after a change of folder.
std::string PathToLoad(std::string name) {
    for (char& c : name) c = c == '\\' ? '/' : c;
    char path[PATH_MAX];
    if (name.find('/') != std::string::npos) return realpath(name.c_str(), path) ? path : name;
    const std::string program = FileNameOf(ObjectOf(nullptr));
    const std::string beside = program.substr(0, program.rfind('/') + 1) + name;
    return access(beside.c_str(), F_OK) == 0 ? beside : name;
}

struct NameSearch {
    std::string_view name;
    std::string found;
};

int MatchName(dl_phdr_info* info, size_t, void* context) {
    auto* search = static_cast<NameSearch*>(context);
    const std::string_view path = info->dlpi_name ? info->dlpi_name : "";
    if (path.substr(path.rfind('/') + 1) != search->name) return 0;
    search->found = path;
    return 1;
}

// One more reference to a module that is already loaded, or null.
link_map* Reference(const std::string& name) {
    std::string path = PathToLoad(name);
    if (path.find('/') == std::string::npos) {
        NameSearch search = {path, {}};
        if (!dl_iterate_phdr(MatchName, &search)) return nullptr;
        path = search.found;
    }
    return static_cast<link_map*>(dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD));
}

// A file that is there but is no module is a bad format; everything else is a module not found, its parts included.
DWORD LoadError(const std::string& path) {
    char head[4] = {};
    FILE* file = fopen(path.c_str(), "rbe");
    if (!file) return ERROR_MOD_NOT_FOUND;
    const bool read = fread(head, 1, sizeof head, file) == sizeof head;
    fclose(file);
    return read && memcmp(head, ELFMAG, sizeof head) == 0 ? ERROR_MOD_NOT_FOUND : ERROR_BAD_EXE_FORMAT;
}

HMODULE Load(const std::string& name) {
    if (name.empty()) return Fail(ERROR_MOD_NOT_FOUND), nullptr;
    if (IsSystemLibrary(name)) {
        dlopen(StandIn()->l_name, RTLD_LAZY | RTLD_NOLOAD);  // counted, as every load is
        return HandleOf(StandIn());
    }
    const std::string path = PathToLoad(name);
    auto* object = static_cast<link_map*>(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!object) return Fail(LoadError(path)), nullptr;
    return HandleOf(object);
}

HMODULE Find(const std::string& name) {
    if (IsSystemLibrary(name)) return HandleOf(StandIn());
    link_map* object = Reference(name);
    if (!object) return Fail(ERROR_MOD_NOT_FOUND), nullptr;
    const HMODULE module = HandleOf(object);
    dlclose(object);
    return module;
}

template <class Work>
HMODULE WithNarrow(LPCWSTR name, Work work) {
    return OrOutOfMemory(
        [&] {
            std::string narrow;
            const bool valid = platform::Narrow(name, narrow);
            return valid ? work(narrow) : (Fail(ERROR_MOD_NOT_FOUND), nullptr);
        },
        HMODULE{});
}

// Copies what fits and terminates it; a result equal to the size says that it did not fit.
template <class Text, class Unit>
DWORD CopyOut(const Text& text, Unit* buffer, DWORD size) {
    const DWORD fits = text.size() < size ? static_cast<DWORD>(text.size()) : size - (size != 0);
    text.copy(buffer, fits);
    if (size != 0) buffer[fits] = 0;
    if (text.size() < size) return fits;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

// A resource name or type as a number, if it is one; "#12" is one too.
std::optional<WORD> Number(const char16_t* name) {
    if (IS_INTRESOURCE(name)) return static_cast<WORD>(reinterpret_cast<ULONG_PTR>(name));
    if (*name != '#') return std::nullopt;
    unsigned value = 0;
    while (*++name >= '0' && *name <= '9' && value <= 0xFFFF) value = value * 10 + static_cast<unsigned>(*name - '0');
    if (*name || value > 0xFFFF) return std::nullopt;
    return static_cast<WORD>(value);
}

bool SameType(const char16_t* own, const char16_t* wanted) {
    const std::optional<WORD> number = Number(wanted);
    if (number || IS_INTRESOURCE(own)) return number == Number(own);
    for (;; ++own, ++wanted) {
        if (platform::FoldCase(*own) != platform::FoldCase(*wanted)) return false;
        if (!*wanted) return true;
    }
}

}  // namespace

HMODULE LoadLibraryA(LPCSTR lpLibFileName) {
    if (!lpLibFileName) return Fail(ERROR_INVALID_PARAMETER), nullptr;
    return OrOutOfMemory([&] { return Load(lpLibFileName); }, HMODULE{});
}

HMODULE LoadLibraryW(LPCWSTR lpLibFileName) {
    if (!lpLibFileName) return Fail(ERROR_INVALID_PARAMETER), nullptr;
    return WithNarrow(lpLibFileName, Load);
}

BOOL FreeLibrary(HMODULE hLibModule) {
    link_map* object = hLibModule ? ObjectOf(hLibModule) : nullptr;
    if (!object) return Fail(ERROR_INVALID_HANDLE);
    ++unloading;
    const bool closed = dlclose(object) == 0;
    --unloading;
    return closed ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

int platform_is_unloading(void) { return unloading; }

HMODULE GetModuleHandleA(LPCSTR lpModuleName) {
    if (!lpModuleName) return HandleOf(ObjectOf(nullptr));
    return OrOutOfMemory([&] { return Find(lpModuleName); }, HMODULE{});
}

DWORD GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize) {
    link_map* object = ObjectOf(hModule);
    if (!object) return Fail(ERROR_MOD_NOT_FOUND), 0;
    return OrOutOfMemory([&] { return CopyOut(FileNameOf(object), lpFilename, nSize); }, DWORD{});
}

DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) {
    link_map* object = ObjectOf(hModule);
    if (!object) return Fail(ERROR_MOD_NOT_FOUND), 0;
    return OrOutOfMemory(
        [&] {
            std::u16string name;
            if (!platform::Widen(FileNameOf(object), name)) return Fail(ERROR_NO_UNICODE_TRANSLATION), DWORD{};
            return CopyOut(name, lpFilename, nSize);
        },
        DWORD{});
}

// By name only: functions have no numbers here.
FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) {
    link_map* object = ObjectOf(hModule);
    if (!object) return Fail(ERROR_MOD_NOT_FOUND), nullptr;
    void* function = IS_INTRESOURCE(lpProcName) ? nullptr : OwnSymbol(object, lpProcName);
    if (!function) return Fail(ERROR_PROC_NOT_FOUND), nullptr;
    return reinterpret_cast<FARPROC>(function);
}

// Modules are never told of threads.
BOOL DisableThreadLibraryCalls(HMODULE hLibModule) {
    return hLibModule && ObjectOf(hLibModule) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

HRSRC FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType) {
    const PlatformImage* image = ImageOf(hModule);
    if (!image) return Fail(ERROR_RESOURCE_DATA_NOT_FOUND), nullptr;
    const std::optional<WORD> id = Number(lpName);
    DWORD error = ERROR_RESOURCE_TYPE_NOT_FOUND;
    for (uint32_t i = 0; i < image->count; ++i) {
        const PlatformResource* resource = &image->resources[i];
        if (!SameType(resource->type, lpType)) continue;
        if (id == resource->id) return reinterpret_cast<HRSRC>(const_cast<PlatformResource*>(resource));
        error = ERROR_RESOURCE_NAME_NOT_FOUND;
    }
    return Fail(error), nullptr;
}

HGLOBAL LoadResource(HMODULE, HRSRC hResInfo) { return hResInfo; }

LPVOID LockResource(HGLOBAL hResData) {
    return hResData ? const_cast<void*>(static_cast<const PlatformResource*>(hResData)->data) : nullptr;
}

DWORD SizeofResource(HMODULE, HRSRC hResInfo) {
    return hResInfo ? reinterpret_cast<const PlatformResource*>(hResInfo)->size : 0;
}
