// Each look-up is one step on the store, so that no change of another process comes between its parts.
#include "platform/registered_text.h"

#include "platform/wide_text.h"

namespace platform {
namespace {

RegistryPath PathOf(NameList names) { return {names.begin(), names.end()}; }

}  // namespace

std::u16string GuidText(REFGUID guid) {
    OLECHAR text[39] = {};
    StringFromGUID2(guid, text, 39);
    return text;
}

RegistryKey* FindClassesKey(RegistryTree& tree, NameList path) { return tree.Find(kClassesRoot, PathOf(path)); }

RegistryKey* FindKeyBelow(RegistryKey* key, std::u16string_view name) {
    if (!key) return nullptr;
    const auto found = key->keys.find(Folded(name));
    return found == key->keys.end() ? nullptr : found->second.get();
}

std::optional<std::u16string> TextIn(RegistryKey* key, std::u16string_view valueName) {
    const RegistryValue* const value = key ? key->FindValue(valueName) : nullptr;
    if (!value || !value->foreign.empty()) return std::nullopt;
    return value->text;
}

void SetText(RegistryTree& tree, NameList path, std::u16string_view text, std::u16string_view valueName) {
    bool created = false;
    tree.Create(kClassesRoot, PathOf(path), created).Set({std::u16string(valueName), std::u16string(text), {}});
}

LONG ReadClassesText(NameList path, std::u16string& text) {
    return RegistryStore::Instance().Read([&](RegistryTree& tree) -> LONG {
        std::optional<std::u16string> found = TextIn(FindClassesKey(tree, path));
        if (!found || found->empty()) return ERROR_FILE_NOT_FOUND;
        text = std::move(*found);
        return ERROR_SUCCESS;
    });
}

HRESULT ReadClassEntry(REFCLSID clsid, std::u16string_view name, std::u16string& text) {
    const LONG code = ReadClassesText({u"CLSID", GuidText(clsid), name}, text);
    if (code == ERROR_SUCCESS) return S_OK;
    return code == ERROR_FILE_NOT_FOUND ? REGDB_E_CLASSNOTREG : REGDB_E_READREGDB;
}

}  // namespace platform
