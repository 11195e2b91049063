// Names and strings are checked when they are set or read, so that writing cannot fail.
#include "platform/registry_text.h"

#include <algorithm>

#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr std::string_view kSignature = "Windows Registry Editor Version 5.00";

void WriteQuoted(std::string_view text, std::string& out) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
}

void WriteValue(const RegistryValue& value, std::string& out) {
    std::string name;
    static_cast<void>(Narrow(value.name, name));  // checked when it was set
    if (name.empty()) {
        out += '@';
    } else {
        WriteQuoted(name, out);
    }
    out += '=';
    if (value.foreign.empty()) {
        std::string text;
        static_cast<void>(Narrow(value.text, text));
        WriteQuoted(text, out);
    } else {
        out += value.foreign;
    }
    out += '\n';
}

void WriteKey(const RegistryKey& key, const std::string& path, std::string& out) {
    // A key that holds nothing but keys is implied by them.
    if (!key.values.empty() || key.keys.empty()) {
        out += "\n[";
        out += path;
        out += "]\n";
        for (const RegistryValue& value : key.values) WriteValue(value, out);
    }
    for (const auto& entry : key.keys) {
        std::string name;
        static_cast<void>(Narrow(entry.second->name, name));
        WriteKey(*entry.second, std::string(path).append(1, '\\').append(name), out);
    }
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool Skip(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool ReadQuoted(std::string_view& text, std::u16string& out) {
    std::string content;
    if (!Skip(text, "\"")) return false;
    while (!text.empty() && text.front() != '"') {
        if (text.front() == '\\') {
            text.remove_prefix(1);
            if (text.empty() || (text.front() != '"' && text.front() != '\\')) return false;
        }
        content += text.front();
        text.remove_prefix(1);
    }
    return Skip(text, "\"") && Widen(content, out);
}

class Reader {
public:
    Reader(std::string_view text, RegistryTree& tree) : rest_(text), tree_(tree) { Skip(rest_, "\xEF\xBB\xBF"); }

    bool Run() {
        if (Trimmed(rest_).empty()) return true;  // a file just created: an empty registry
        bool ok = NextLine() && line_ == kSignature;
        while (ok && NextLine()) ok = line_.empty() || line_.front() == ';' || ReadLine();
        return ok;
    }

private:
    bool NextLine() {
        if (rest_.empty()) return false;
        const size_t end = std::min(rest_.find('\n'), rest_.size());
        line_ = Trimmed(rest_.substr(0, end));
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return true;
    }

    bool ReadLine() {
        if (line_.front() == '[') return ReadKey();
        RegistryValue value;
        if (!key_ || (!Skip(line_, "@") && !ReadQuoted(line_, value.name))) return false;
        line_ = Trimmed(line_);
        if (!Skip(line_, "=") || !IsPrintable(value.name)) return false;
        line_ = Trimmed(line_);
        if (line_.starts_with('"') ? !ReadString(value.text) : !ReadForeign(value.foreign)) return false;
        key_->Set(std::move(value));
        return true;
    }

    bool ReadKey() {
        if (line_.back() != ']') return false;
        std::u16string text;
        RegistryPath path;
        if (!Widen(line_.substr(1, line_.size() - 2), text) || !SplitPath(text, path) || path.empty()) return false;
        const auto root = std::find_if(kRootNames.begin(), kRootNames.end(),
                                       [&](std::u16string_view name) { return SameName(name, path.front()); });
        if (root == kRootNames.end()) return false;
        path.erase(path.begin());
        bool created = false;
        key_ = &tree_.Create(static_cast<size_t>(root - kRootNames.begin()), path, created);
        return true;
    }

    // A string may hold line breaks, as the real files have it, and then ends in another line.
    bool ReadString(std::u16string& text) {
        rest_ = {line_.data(), static_cast<size_t>(rest_.data() + rest_.size() - line_.data())};
        if (!ReadQuoted(rest_, text) || text.find(u'\0') != text.npos) return false;
        return rest_.empty() || (NextLine() && line_.empty());
    }

    // Bytes and numbers; a backslash at the end of a line goes on in the next one.
    bool ReadForeign(std::string& out) {
        if (!line_.starts_with("dword:") && !line_.starts_with("hex")) return false;
        out = line_;
        while (out.back() == '\\') {
            if (!NextLine() || line_.empty()) return false;
            out.append("\n  ").append(line_);
        }
        return true;
    }

    std::string_view rest_;
    std::string_view line_;
    RegistryKey* key_ = nullptr;
    RegistryTree& tree_;
};

}  // namespace

std::string WriteRegistryText(const RegistryTree& tree) {
    std::string out(kSignature);
    out += '\n';
    for (size_t root = 0; root < tree.roots.size(); ++root) {
        std::string name;
        static_cast<void>(Narrow(kRootNames[root], name));
        if (!tree.roots[root].values.empty() || !tree.roots[root].keys.empty()) WriteKey(tree.roots[root], name, out);
    }
    return out;
}

bool ReadRegistryText(std::string_view text, RegistryTree& tree) { return Reader(text, tree).Run(); }

}  // namespace platform
