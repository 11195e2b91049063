// Keys are found by their folded names, which are also their order.
#include "platform/registry_tree.h"

#include <algorithm>

#include "platform/wide_text.h"

namespace platform {
bool IsPrintable(std::u16string_view name) {
    for (size_t i = 0; i < name.size(); ++i) {
        const char16_t c = name[i];
        if (c < 0x20 || (c >= 0xDC00 && c <= 0xDFFF)) return false;
        if (c < 0xD800 || c > 0xDBFF) continue;
        if (++i == name.size() || name[i] < 0xDC00 || name[i] > 0xDFFF) return false;
    }
    return true;
}

bool SplitPath(std::u16string_view text, RegistryPath& path) {
    path.clear();
    if (text.size() > 1 && text.back() == u'\\') text.remove_suffix(1);
    while (!text.empty()) {
        const size_t end = std::min(text.find(u'\\'), text.size());
        const std::u16string_view name = text.substr(0, end);
        if (name.empty() || name.size() > kMaxKeyName || !IsPrintable(name)) return false;
        if (path.size() == kMaxKeyDepth) return false;
        path.emplace_back(name);
        if (end + 1 == text.size()) return false;  // a second trailing separator
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

RegistryValue* RegistryKey::FindValue(std::u16string_view valueName) {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [&](const RegistryValue& value) { return SameName(value.name, valueName); });
    return found == values.end() ? nullptr : &*found;
}

bool RegistryKey::Set(RegistryValue value) {
    RegistryValue* const earlier = FindValue(value.name);
    if (!earlier) {
        values.push_back(std::move(value));
        return true;
    }
    if (earlier->text == value.text && earlier->foreign == value.foreign) return false;
    earlier->text = std::move(value.text);
    earlier->foreign = std::move(value.foreign);
    return true;
}

RegistryKey* RegistryTree::Find(size_t root, RegistryPathView path) {
    RegistryKey* key = &roots[root];
    for (const std::u16string& name : path) {
        const auto found = key->keys.find(Folded(name));
        if (found == key->keys.end()) return nullptr;
        key = found->second.get();
    }
    return key;
}

RegistryKey& RegistryTree::Create(size_t root, RegistryPathView path, bool& created) {
    RegistryKey* key = &roots[root];
    created = false;
    for (const std::u16string& name : path) {
        std::unique_ptr<RegistryKey>& place = key->keys[Folded(name)];
        created = !place;
        if (created) {
            place = std::make_unique<RegistryKey>();
            place->name = name;
        }
        key = place.get();
    }
    return *key;
}

void RegistryTree::Remove(size_t root, RegistryPathView path) {
    if (RegistryKey* const parent = Find(root, path.first(path.size() - 1))) parent->keys.erase(Folded(path.back()));
}

}  // namespace platform
