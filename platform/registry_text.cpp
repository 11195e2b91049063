// See registry_text.h. Strings that a line cannot hold (line breaks, several terminators, broken UTF-16) and all types
// but strings and 32-bit numbers are written as bytes: hex(type):...
#include "platform/registry_text.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr std::string_view kSignature = "Windows Registry Editor Version 5.00";
constexpr std::string_view kDigits = "0123456789abcdef";
constexpr size_t kBytesPerLine = 24;

void WriteQuoted(std::string_view text, std::string& out) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
}

void WriteHexByte(BYTE byte, std::string& out) {
    out += kDigits[byte >> 4];
    out += kDigits[byte & 15];
}

// The characters of a string that reads back as these very bytes, or nothing.
std::optional<std::string> PlainString(const RegistryValue& value) {
    if (value.type != REG_SZ || value.data.size() < 2 || value.data.size() % 2 != 0) return std::nullopt;
    std::u16string text(value.data.size() / 2, u'\0');
    std::memcpy(text.data(), value.data.data(), value.data.size());
    if (text.back() != u'\0') return std::nullopt;
    text.pop_back();
    std::string narrow;
    const bool plain = std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= 0x20; });
    if (!plain || !Narrow(text, narrow)) return std::nullopt;
    return narrow;
}

void WriteBytes(const RegistryValue& value, std::string& out) {
    out += "hex";
    if (value.type != REG_BINARY) {
        out += '(';
        bool leading = true;
        for (int shift = 28; shift >= 0; shift -= 4) {
            const DWORD digit = value.type >> shift & 15;
            leading = leading && digit == 0 && shift != 0;
            if (!leading) out += kDigits[digit];
        }
        out += ')';
    }
    out += ':';
    for (size_t i = 0; i < value.data.size(); ++i) {
        if (i != 0) out += i % kBytesPerLine == 0 ? ",\\\n  " : ",";
        WriteHexByte(value.data[i], out);
    }
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
    if (const std::optional<std::string> text = PlainString(value)) {
        WriteQuoted(*text, out);
    } else if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
        out += "dword:";
        for (size_t i = sizeof(DWORD); i-- != 0;) WriteHexByte(value.data[i], out);
    } else {
        WriteBytes(value, out);
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

// One to eight hexadecimal digits.
bool ReadHex(std::string_view& text, DWORD& number) {
    number = 0;
    size_t count = 0;
    for (; count < text.size(); ++count) {
        const char c = static_cast<char>(text[count] >= 'A' && text[count] <= 'F' ? text[count] + 0x20 : text[count]);
        const size_t digit = kDigits.find(c);
        if (digit == std::string_view::npos) break;
        if (count == 8) return false;
        number = number << 4 | static_cast<DWORD>(digit);
    }
    text.remove_prefix(count);
    return count != 0;
}

class Reader {
public:
    Reader(std::string_view text, RegistryTree& tree) : rest_(text), tree_(tree) { Skip(rest_, "\xEF\xBB\xBF"); }

    size_t Run() {
        if (Trimmed(rest_).empty()) return 0;  // a file just created: an empty registry
        bool ok = NextLine() && line_ == kSignature;
        while (ok && NextLine()) ok = line_.empty() || line_.front() == ';' || ReadLine();
        return ok ? 0 : std::max<size_t>(number_, 1);
    }

private:
    bool NextLine() {
        if (rest_.empty()) return false;
        const size_t end = std::min(rest_.find('\n'), rest_.size());
        line_ = Trimmed(rest_.substr(0, end));
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        ++number_;
        return true;
    }

    bool ReadLine() {
        if (line_.front() == '[') return ReadKey();
        RegistryValue value;
        if (!key_ || (!Skip(line_, "@") && !ReadQuoted(line_, value.name))) return false;
        line_ = Trimmed(line_);
        if (!Skip(line_, "=") || !IsValueName(value.name)) return false;
        line_ = Trimmed(line_);
        if (!ReadData(value)) return false;
        if (RegistryValue* const earlier = key_->FindValue(value.name)) {
            *earlier = std::move(value);
        } else {
            key_->values.push_back(std::move(value));
        }
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

    bool ReadData(RegistryValue& value) {
        if (line_.starts_with('"')) return ReadString(value);
        if (Skip(line_, "dword:")) {
            DWORD number = 0;
            value.type = REG_DWORD;
            if (!ReadHex(line_, number) || !line_.empty()) return false;
            value.data.resize(sizeof number);
            std::memcpy(value.data.data(), &number, sizeof number);
            return true;
        }
        value.type = REG_BINARY;
        if (!Skip(line_, "hex")) return false;
        if (Skip(line_, "(") && (!ReadHex(line_, value.type) || !Skip(line_, ")"))) return false;
        return Skip(line_, ":") && ReadBytes(value.data);
    }

    bool ReadString(RegistryValue& value) {
        std::u16string text;
        if (!ReadQuoted(line_, text) || !line_.empty()) return false;
        value.type = REG_SZ;
        value.data.resize((text.size() + 1) * sizeof(char16_t));
        std::memcpy(value.data.data(), text.c_str(), value.data.size());
        return true;
    }

    // Bytes parted by commas; a backslash at the end of a line goes on in the next one.
    bool ReadBytes(std::vector<BYTE>& data) {
        for (;;) {
            line_ = Trimmed(line_);
            if (line_ == "\\") {
                if (!NextLine()) return false;
                continue;
            }
            if (line_.empty()) return data.empty();
            DWORD byte = 0;
            if (!ReadHex(line_, byte) || byte > 0xFF) return false;
            data.push_back(static_cast<BYTE>(byte));
            line_ = Trimmed(line_);
            if (line_.empty()) return true;
            if (!Skip(line_, ",")) return false;
            if (Trimmed(line_).empty()) return false;
        }
    }

    std::string_view rest_;
    std::string_view line_;
    size_t number_ = 0;
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

size_t ReadRegistryText(std::string_view text, RegistryTree& tree) { return Reader(text, tree).Run(); }

}  // namespace platform
