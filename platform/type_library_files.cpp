// Loading type libraries: a library is its record, in a file of its own or as a resource of a module.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>

#include "platform/registered_text.h"
#include "platform/type_library.h"
#include "platform/type_record.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr off_t kMaxSize = 16 << 20;
constexpr std::string_view kModuleMark = "\177ELF";
constexpr WORD kDefaultResource = 1;

// Both separators of Windows lead into a folder here.
std::u16string SystemPath(std::u16string_view file) {
    std::u16string path(file);
    std::replace(path.begin(), path.end(), u'\\', u'/');
    return path;
}

bool ReadFileText(const std::u16string& path, std::string& text) {
    std::string name;
    if (!Narrow(path, name)) return false;
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    struct stat state {};
    bool ok = fstat(file, &state) == 0 && S_ISREG(state.st_mode) && state.st_size <= kMaxSize;
    if (ok) {
        text.resize(static_cast<size_t>(state.st_size));
        size_t done = 0;
        while (done < text.size()) {
            const ssize_t got = read(file, text.data() + done, text.size() - done);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            done += static_cast<size_t>(got);
        }
        ok = done == text.size();
    }
    close(file);
    return ok;
}

HRESULT LoadRecord(std::string_view text, ITypeLib** library) {
    RecordError error;
    std::shared_ptr<const Library> data = ReadTypeRecord(text, error);
    if (!data) return TYPE_E_INVDATAREAD;
    *library = new TypeLibrary(std::move(data));
    return S_OK;
}

HRESULT LoadFromModule(const std::u16string& path, WORD number, ITypeLib** library) {
    const HMODULE module = LoadLibraryW(path.c_str());
    if (!module) return TYPE_E_CANTLOADLIBRARY;
    HRESULT hr = TYPE_E_CANTLOADLIBRARY;
    if (const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(number), u"TYPELIB")) {
        const auto* const data = static_cast<const char*>(LockResource(LoadResource(module, found)));
        if (data) hr = LoadRecord({data, SizeofResource(module, found)}, library);
    }
    FreeLibrary(module);
    return hr;
}

bool EndsWith(std::u16string_view path, std::u16string_view ending) {
    return path.size() >= ending.size() && SameName(path.substr(path.size() - ending.size()), ending);
}

// "module\2": another resource than the first.
bool SplitResource(std::u16string& path, WORD& number) {
    const size_t digits = path.find_last_of(u'/');
    if (digits == std::u16string::npos || digits + 1 == path.size() || path.size() - digits > 6) return false;
    DWORD value = 0;
    for (size_t i = digits + 1; i < path.size(); ++i) {
        if (path[i] < u'0' || path[i] > u'9') return false;
        value = value * 10 + (path[i] - u'0');
    }
    path.resize(digits);
    number = static_cast<WORD>(value);
    return value != 0 && value <= 0xFFFF;
}

HRESULT LoadFile(const OLECHAR* file, ITypeLib** library) {
    std::u16string path = SystemPath(file);
    WORD number = kDefaultResource;
    std::string content;
    bool onlyModule = false;
    if (!ReadFileText(path, content)) {
        onlyModule = SplitResource(path, number);
        if (!onlyModule || !ReadFileText(path, content)) return TYPE_E_CANTLOADLIBRARY;
    }
    if (content.starts_with(kModuleMark)) return LoadFromModule(path, number, library);
    return EndsWith(path, u".tlb") && !onlyModule ? LoadRecord(content, library) : TYPE_E_CANTLOADLIBRARY;
}

}  // namespace
}  // namespace platform

// Loads without registering: that is RegisterTypeLib's.
WINOLEAUTAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib) {
    if (!szFile || !pptlib) return E_INVALIDARG;
    *pptlib = nullptr;
    if (regkind != REGKIND_NONE) return E_NOTIMPL;
    return platform::OrOutOfMemory([&] { return platform::LoadFile(szFile, pptlib); });
}
