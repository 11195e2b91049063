// The registry as COM's own calls use it: texts under HKEY_CLASSES_ROOT, found and changed in one step.
#pragma once

#include <windows.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "platform/last_error.h"
#include "platform/registry_store.h"

namespace platform {

inline constexpr size_t kClassesRoot = 0;

using NameList = std::initializer_list<std::u16string_view>;

std::u16string GuidText(REFGUID guid);

RegistryKey* FindClassesKey(RegistryTree& tree, NameList path);
RegistryKey* FindKeyBelow(RegistryKey* key, std::u16string_view name);

// The string in a value, up to its terminator; nothing when there is no such value, or it is no string.
std::optional<std::u16string> TextIn(RegistryKey* key, std::u16string_view valueName = {});
void SetText(RegistryTree& tree, NameList path, std::u16string_view text, std::u16string_view valueName = {});

// The default value of a key, for a caller that needs no more. ERROR_FILE_NOT_FOUND also for an empty one.
LONG ReadClassesText(NameList path, std::u16string& text);
// The same of a class's entry: S_OK, REGDB_E_CLASSNOTREG without one, REGDB_E_READREGDB where nothing can be read.
HRESULT ReadClassEntry(REFCLSID clsid, std::u16string_view name, std::u16string& text);

}  // namespace platform
