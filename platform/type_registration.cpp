// Registered type libraries: TypeLib\{id}\version\locale\win64 leads to the file, and Interface\{iid} from an interface that
// can be called late-bound, or marshalled by its description, to the library. Each call changes the registry in one step.
#include <algorithm>
#include <charconv>

#include "platform/registered_text.h"
#include "platform/type_library.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr std::u16string_view kSystem = u"win64";
constexpr std::u16string_view kAutomationMarshaller = u"{00020424-0000-0000-C000-000000000046}";
constexpr WORD kAnyVersion = 0xFFFF;
constexpr LCID kPrimaryLanguage = 0x3FF;

std::u16string NumberText(DWORD number, int base) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
    return {digits, end};
}

std::u16string VersionText(WORD majorVersion, WORD minorVersion) {
    return NumberText(majorVersion, 16) + u'.' + NumberText(minorVersion, 16);
}

bool TakeNumber(std::u16string_view text, DWORD& number) {
    char digits[8];
    if (text.empty() || text.size() > 4) return false;
    std::copy(text.begin(), text.end(), digits);
    const auto result = std::from_chars(digits, digits + text.size(), number, 16);
    return result.ec == std::errc() && result.ptr == digits + text.size();
}

// The registered version that a caller gets: the one asked for, else the highest that only adds to it.
RegistryKey* FindVersion(RegistryKey* library, WORD wantedMajor, WORD wantedMinor) {
    RegistryKey* best = nullptr;
    DWORD bestNumber = 0;
    if (!library) return nullptr;
    for (const auto& entry : library->keys) {
        const std::u16string_view name = entry.second->name;
        const size_t dot = name.find(u'.');
        DWORD foundMajor = 0;
        DWORD foundMinor = 0;
        if (dot == std::u16string_view::npos || !TakeNumber(name.substr(0, dot), foundMajor)) continue;
        if (!TakeNumber(name.substr(dot + 1), foundMinor)) continue;
        if (foundMajor == wantedMajor && foundMinor == wantedMinor) return entry.second.get();
        const bool any = wantedMajor == kAnyVersion && wantedMinor == kAnyVersion;
        if (!any && (foundMajor != wantedMajor || foundMinor < wantedMinor)) continue;
        const DWORD number = foundMajor << 16 | foundMinor;
        if (best && number < bestNumber) continue;
        best = entry.second.get();
        bestNumber = number;
    }
    return best;
}

// The locale asked for, else its language, else the neutral one.
std::optional<std::u16string> FindPath(RegistryKey* version, LCID locale) {
    for (const LCID candidate : {locale, locale & kPrimaryLanguage, LCID{0}}) {
        RegistryKey* const language = FindKeyBelow(version, NumberText(candidate, 16));
        if (std::optional<std::u16string> path = TextIn(FindKeyBelow(language, kSystem))) return path;
    }
    return std::nullopt;
}

std::u16string FolderOf(std::u16string_view path) {
    const size_t end = path.find_last_of(u"/\\");
    return std::u16string(path.substr(0, end == std::u16string_view::npos ? 0 : end));
}

bool NeedsInterfaceKey(const TypeEntry& type) {
    return type.kind == TKIND_DISPATCH || (type.kind == TKIND_INTERFACE && (type.flags & TYPEFLAG_FOLEAUTOMATION));
}

void WriteKeys(RegistryTree& tree, const Library& library, std::u16string_view path, std::u16string_view helpFolder) {
    const std::u16string id = GuidText(library.guid);
    const std::u16string version = VersionText(library.majorVersion, library.minorVersion);
    SetText(tree, {u"TypeLib", id, version}, library.help);
    SetText(tree, {u"TypeLib", id, version, NumberText(library.lcid, 16), kSystem}, path);
    SetText(tree, {u"TypeLib", id, version, u"FLAGS"}, NumberText(library.flags, 10));
    SetText(tree, {u"TypeLib", id, version, u"HELPDIR"}, helpFolder);
    for (const auto& type : library.types) {
        if (!NeedsInterfaceKey(*type)) continue;
        const std::u16string iid = GuidText(type->guid);
        SetText(tree, {u"Interface", iid}, type->name);
        SetText(tree, {u"Interface", iid, u"ProxyStubClsid"}, kAutomationMarshaller);
        SetText(tree, {u"Interface", iid, u"ProxyStubClsid32"}, kAutomationMarshaller);
        SetText(tree, {u"Interface", iid, u"TypeLib"}, id);
        SetText(tree, {u"Interface", iid, u"TypeLib"}, version, u"Version");
    }
}

// The interfaces that the registry leads from to this version of the library, whether or not its file is still there.
void EraseInterfaces(RegistryTree& tree, const std::u16string& id, const std::u16string& version) {
    RegistryKey* const interfaces = FindClassesKey(tree, {u"Interface"});
    if (!interfaces) return;
    std::erase_if(interfaces->keys, [&](const auto& entry) {
        RegistryKey* const library = FindKeyBelow(entry.second.get(), u"TypeLib");
        return SameName(TextIn(library).value_or(u""), id) &&
               SameName(TextIn(library, u"Version").value_or(u""), version);
    });
}

bool IsLocale(const RegistryKey& key) {
    DWORD number = 0;
    return TakeNumber(key.name, number) && !key.keys.empty();
}

// Removes one locale's file for one system; then whatever holds nothing else. False when it is not registered.
bool EraseKeys(RegistryTree& tree, const std::u16string& id, const std::u16string& version, LCID locale,
               std::u16string_view system) {
    RegistryKey* const libraries = FindClassesKey(tree, {u"TypeLib"});
    RegistryKey* const library = FindKeyBelow(libraries, id);
    RegistryKey* const versionKey = FindKeyBelow(library, version);
    RegistryKey* const language = FindKeyBelow(versionKey, NumberText(locale, 16));
    if (!FindKeyBelow(language, system)) return false;
    language->keys.erase(Folded(system));
    if (language->keys.empty()) versionKey->keys.erase(Folded(NumberText(locale, 16)));
    const bool inUse = std::any_of(versionKey->keys.begin(), versionKey->keys.end(),
                                   [](const auto& entry) { return IsLocale(*entry.second); });
    if (inUse) return true;
    EraseInterfaces(tree, id, version);
    library->keys.erase(Folded(version));
    if (library->keys.empty()) libraries->keys.erase(Folded(id));
    return true;
}

std::u16string_view SystemName(SYSKIND system) {
    switch (system) {
        case SYS_WIN16:
            return u"win16";
        case SYS_WIN32:
            return u"win32";
        case SYS_WIN64:
            return kSystem;
        default:
            return {};
    }
}

HRESULT Register(const Library& library, std::u16string_view path, const OLECHAR* helpFolder) {
    const std::u16string folder = helpFolder ? std::u16string(helpFolder) : FolderOf(path);
    const LONG code = RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        WriteKeys(tree, library, path, folder);
        changed = true;
        return ERROR_SUCCESS;
    });
    return code == ERROR_SUCCESS ? S_OK : TYPE_E_REGISTRYACCESS;
}

HRESULT Unregister(REFGUID guid, WORD majorVersion, WORD minorVersion, LCID locale, SYSKIND system) {
    const std::u16string_view name = SystemName(system);
    if (name.empty()) return TYPE_E_REGISTRYACCESS;
    const LONG code = RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        changed = EraseKeys(tree, GuidText(guid), VersionText(majorVersion, minorVersion), locale, name);
        return changed ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    });
    return code == ERROR_SUCCESS ? S_OK : TYPE_E_REGISTRYACCESS;
}

HRESULT QueryPath(REFGUID guid, WORD majorVersion, WORD minorVersion, LCID locale, std::u16string& path) {
    const LONG code = RegistryStore::Instance().Read([&](RegistryTree& tree) -> LONG {
        RegistryKey* const library = FindClassesKey(tree, {u"TypeLib", GuidText(guid)});
        std::optional<std::u16string> found = FindPath(FindVersion(library, majorVersion, minorVersion), locale);
        if (!found) return ERROR_FILE_NOT_FOUND;
        path = std::move(*found);
        return ERROR_SUCCESS;
    });
    return code == ERROR_SUCCESS ? S_OK : TYPE_E_LIBNOTREGISTERED;
}

}  // namespace
}  // namespace platform

WINOLEAUTAPI RegisterTypeLib(ITypeLib* ptlib, OLECHAR* szFullPath, OLECHAR* szHelpDir) {
    const auto* const library = dynamic_cast<const platform::TypeLibrary*>(ptlib);
    if (!library || !szFullPath) return E_INVALIDARG;
    return platform::OrOutOfMemory([&] { return platform::Register(library->Data(), szFullPath, szHelpDir); });
}

WINOLEAUTAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind) {
    return platform::OrOutOfMemory([&] { return platform::Unregister(libID, wVerMajor, wVerMinor, lcid, syskind); });
}

WINOLEAUTAPI QueryPathOfRegTypeLib(REFGUID guid, USHORT wMaj, USHORT wMin, LCID lcid, LPBSTR lpbstrPathName) {
    if (!lpbstrPathName) return E_INVALIDARG;
    return platform::OrOutOfMemory([&] {
        std::u16string path;
        if (const HRESULT hr = platform::QueryPath(guid, wMaj, wMin, lcid, path); FAILED(hr)) return hr;
        *lpbstrPathName = SysAllocStringLen(path.data(), static_cast<UINT>(path.size()));
        return *lpbstrPathName ? S_OK : E_OUTOFMEMORY;
    });
}

WINOLEAUTAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib) {
    if (!pptlib) return E_INVALIDARG;
    *pptlib = nullptr;
    return platform::OrOutOfMemory([&] {
        std::u16string path;
        const HRESULT hr = platform::QueryPath(rguid, wVerMajor, wVerMinor, lcid, path);
        return SUCCEEDED(hr) ? LoadTypeLibEx(path.c_str(), REGKIND_NONE, pptlib) : hr;
    });
}
