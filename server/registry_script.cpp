// Reader and runner of registration scripts. The text becomes a tree first: a script that breaks off changes nothing.
#include "server/registry_script.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "com/unique.h"

namespace talvo {
namespace {

using WideString = std::basic_string<WCHAR>;

constexpr int kMaxDepth = 32;
constexpr REGSAM kAccess = KEY_READ | KEY_WRITE;

struct Value {
    WideString Name;  // empty: the key's default value
    WideString Text;
};

struct Key {
    WideString Name;
    bool NoRemove = false;
    bool ForceRemove = false;
    std::vector<Value> Values;
    std::vector<Key> Keys;
};

// Scripts are ASCII; what takes the place of a mark is not looked at again.
WideString Expand(std::string_view text, std::span<const ScriptMark> marks) {
    WideString expanded;
    while (!text.empty()) {
        const auto mark =
            std::ranges::find_if(marks, [text](const ScriptMark& each) { return text.starts_with(each.Mark); });
        if (mark != marks.end()) {
            expanded += mark->Text;
        } else {
            expanded += static_cast<WCHAR>(text.front());
        }
        text.remove_prefix(mark != marks.end() ? mark->Mark.size() : 1);
    }
    return expanded;
}

// Recursive descent over the text. Every function answers false for a text that is no script.
class Reader {
public:
    Reader(std::string_view text, std::span<const ScriptMark> marks) : rest_(text), marks_(marks) { Advance(); }

    bool ReadScript(Key& root) { return Is("HKCR") && (Advance(), ReadBody(root, 0)) && Is(""); }

private:
    // { ... }, or nothing
    bool ReadBody(Key& key, int depth) {
        if (!Is("{")) return true;
        if (depth > kMaxDepth) return false;
        Advance();
        while (!Is("}")) {
            if (!ReadEntry(key, depth)) return false;
        }
        Advance();
        return true;
    }

    bool ReadEntry(Key& parent, int depth) {
        if (Is("val")) {
            Advance();
            Value value;
            return ReadName(value.Name) && Is("=") && ReadText(value.Text) &&
                   (parent.Values.push_back(std::move(value)), true);
        }
        Key key;
        for (; Is("NoRemove") || Is("ForceRemove"); Advance()) (Is("NoRemove") ? key.NoRemove : key.ForceRemove) = true;
        if (!ReadName(key.Name)) return false;
        if (Is("=")) {
            Value value;
            if (!ReadText(value.Text)) return false;
            key.Values.push_back(std::move(value));
        }
        return ReadBody(key, depth + 1) && (parent.Keys.push_back(std::move(key)), true);
    }

    bool ReadName(WideString& name) {
        if (token_.empty() || (!quoted_ && (Is("{") || Is("}") || Is("=")))) return false;
        name = Expand(token_, marks_);
        Advance();
        return true;
    }

    // = s 'text'
    bool ReadText(WideString& text) {
        Advance();
        if (!Is("s")) return false;
        Advance();
        if (!quoted_) return false;
        text = Expand(token_, marks_);
        Advance();
        return true;
    }

    // Whether the current token is this bare word; "" asks for the end of the text.
    bool Is(std::string_view word) const { return !quoted_ && token_ == word; }

    void Advance() {
        token_.clear();
        const size_t start = rest_.find_first_not_of(" \t\r\n");
        rest_.remove_prefix(start == rest_.npos ? rest_.size() : start);
        quoted_ = !rest_.empty() && rest_.front() == '\'';
        if (quoted_) return AdvanceQuoted();
        const bool mark = !rest_.empty() && std::string_view("{}=").find(rest_.front()) != std::string_view::npos;
        const size_t length = mark ? 1 : std::min(rest_.find_first_of(" \t\r\n{}='"), rest_.size());
        token_ = rest_.substr(0, length);
        rest_.remove_prefix(length);
    }

    // A quoted text; one without its closing quote reads as the end of the script, which no script has there.
    void AdvanceQuoted() {
        while (true) {
            rest_.remove_prefix(1);
            const size_t quote = rest_.find('\'');
            if (quote == rest_.npos) {
                quoted_ = false;
                token_ = "}{";
                rest_ = {};
                return;
            }
            token_ += rest_.substr(0, quote);
            rest_.remove_prefix(quote + 1);
            if (rest_.empty() || rest_.front() != '\'') return;
            token_ += '\'';
        }
    }

    std::string_view rest_;
    std::span<const ScriptMark> marks_;
    std::string token_;
    bool quoted_ = false;
};

HRESULT Code(LSTATUS status) noexcept { return HRESULT_FROM_WIN32(static_cast<DWORD>(status)); }

LSTATUS DeleteTree(HKEY parent, const WideString& name) {
    const LSTATUS status = RegDeleteTreeW(parent, name.c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

LSTATUS CreateKeys(HKEY parent, const std::vector<Key>& keys);

LSTATUS CreateOne(HKEY parent, const Key& key) {
    if (key.ForceRemove) {
        if (const LSTATUS status = DeleteTree(parent, key.Name); status != ERROR_SUCCESS) return status;
    }
    com::UniqueKey open;
    const LSTATUS created =
        RegCreateKeyExW(parent, key.Name.c_str(), 0, nullptr, 0, kAccess, nullptr, open.Put(), nullptr);
    if (created != ERROR_SUCCESS) return created;
    for (const Value& value : key.Values) {
        const auto bytes = static_cast<DWORD>((value.Text.size() + 1) * sizeof(WCHAR));
        const LSTATUS status = RegSetValueExW(open.Get(), value.Name.empty() ? nullptr : value.Name.c_str(), 0, REG_SZ,
                                              reinterpret_cast<const BYTE*>(value.Text.c_str()), bytes);
        if (status != ERROR_SUCCESS) return status;
    }
    return CreateKeys(open.Get(), key.Keys);
}

LSTATUS CreateKeys(HKEY parent, const std::vector<Key>& keys) {
    for (const Key& key : keys) {
        if (const LSTATUS status = CreateOne(parent, key); status != ERROR_SUCCESS) return status;
    }
    return ERROR_SUCCESS;
}

// Removes what the script would create, and nothing that others have put beside it: a key goes with all below it only
// when it is marked so, else when it is empty by then.
LSTATUS RemoveKeys(HKEY parent, const std::vector<Key>& keys);

LSTATUS RemoveBelow(HKEY parent, const Key& key) {
    com::UniqueKey open;
    const LSTATUS status = RegOpenKeyExW(parent, key.Name.c_str(), 0, kAccess, open.Put());
    if (status != ERROR_SUCCESS) return status;
    const LSTATUS below = RemoveKeys(open.Get(), key.Keys);
    for (const Value& value : key.Values)
        RegDeleteValueW(open.Get(), value.Name.empty() ? nullptr : value.Name.c_str());
    return below;
}

LSTATUS RemoveOne(HKEY parent, const Key& key) {
    if (key.ForceRemove) return DeleteTree(parent, key.Name);
    const LSTATUS below = RemoveBelow(parent, key);
    if (below == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    if (!key.NoRemove) static_cast<void>(RegDeleteKeyW(parent, key.Name.c_str()));
    return below;
}

LSTATUS RemoveKeys(HKEY parent, const std::vector<Key>& keys) {
    LSTATUS first = ERROR_SUCCESS;
    for (const Key& key : keys) {
        const LSTATUS status = RemoveOne(parent, key);
        if (first == ERROR_SUCCESS) first = status;
    }
    return first;
}

}  // namespace

HRESULT RunRegistryScript(std::string_view script, std::span<const ScriptMark> marks, ScriptAction action) noexcept
    try {
    Key root;
    if (!Reader(script, marks).ReadScript(root)) return Code(ERROR_BAD_FORMAT);
    return Code(action == ScriptAction::Register ? CreateKeys(HKEY_CLASSES_ROOT, root.Keys)
                                                 : RemoveKeys(HKEY_CLASSES_ROOT, root.Keys));
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace talvo
