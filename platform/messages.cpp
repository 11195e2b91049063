// FormatMessageA over the message table of a module and the system's texts, as they are: inserts are not expanded.
#include <windows.h>

#include <platform_image.h>

#include <string.h>

#include <string_view>

#include "platform/last_error.h"
#include "platform/system_messages.h"

namespace {

using platform::Fail;

constexpr DWORD kSources = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM;
constexpr DWORD kOffered = kSources | FORMAT_MESSAGE_IGNORE_INSERTS;
constexpr char kLineEnd[] = "\r\n";

// The text of a module's message, or null with the last error set.
const char* ModuleMessage(HMODULE module, DWORD id) {
    const auto* type = reinterpret_cast<LPCWSTR>(RT_MESSAGETABLE);
    const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(1), type);
    if (!resource) return nullptr;
    const auto* table = static_cast<const PlatformMessage*>(LockResource(LoadResource(module, resource)));
    const size_t count = SizeofResource(module, resource) / sizeof(PlatformMessage);
    for (size_t i = 0; i < count; ++i) {
        if (table[i].id == id) return table[i].text;
    }
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return nullptr;
}

const char* FindMessage(DWORD flags, LPCVOID source, DWORD id) {
    if (flags & FORMAT_MESSAGE_FROM_HMODULE) {
        const auto module = static_cast<HMODULE>(const_cast<void*>(source));
        if (const char* text = ModuleMessage(module, id)) return text;
    }
    if (!(flags & FORMAT_MESSAGE_FROM_SYSTEM)) return nullptr;
    const char* text = platform::SystemMessage(id);
    if (!text) SetLastError(ERROR_MR_MID_NOT_FOUND);
    return text;
}

}  // namespace

DWORD FormatMessageA(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD, LPSTR lpBuffer, DWORD nSize, va_list*) {
    if (!lpBuffer || !(dwFlags & kSources) || (dwFlags & ~kOffered)) return Fail(ERROR_INVALID_PARAMETER), 0;
    const char* found = FindMessage(dwFlags, lpSource, dwMessageId);
    if (!found) return 0;
    const std::string_view text = found;
    if (nSize < text.size() + sizeof kLineEnd) return Fail(ERROR_INSUFFICIENT_BUFFER), 0;
    text.copy(lpBuffer, text.size());
    memcpy(lpBuffer + text.size(), kLineEnd, sizeof kLineEnd);
    return static_cast<DWORD>(text.size() + sizeof kLineEnd - 1);
}
