// FormatMessageA over the message table of a module and the system's texts. Inserts are not expanded: a text that has
// some is refused unless the caller asks to ignore them.
#include <windows.h>

#include <platform_image.h>

#include <stdlib.h>
#include <string.h>

#include "platform/last_error.h"
#include "platform/system_messages.h"

namespace {

using platform::Fail;

constexpr DWORD kSources = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM;
constexpr DWORD kOffered = kSources | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS;
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

void Write(char* target, const char* text, size_t length) {
    memcpy(target, text, length);
    memcpy(target + length, kLineEnd, sizeof kLineEnd);
}

DWORD WriteAllocated(char** target, DWORD atLeast, const char* text, size_t length) {
    const size_t size = length + sizeof kLineEnd;
    *target = static_cast<char*>(malloc(size > atLeast ? size : atLeast));
    if (!*target) return static_cast<DWORD>(Fail(ERROR_NOT_ENOUGH_MEMORY));
    Write(*target, text, length);
    return static_cast<DWORD>(size - 1);
}

}  // namespace

DWORD FormatMessageA(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD, LPSTR lpBuffer, DWORD nSize, va_list*) {
    const bool allocate = dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER;
    char** allocated = reinterpret_cast<char**>(lpBuffer);
    if (!lpBuffer || !(dwFlags & kSources) || (dwFlags & ~kOffered)) return Fail(ERROR_INVALID_PARAMETER), 0;
    if (allocate) *allocated = nullptr;
    const char* text = FindMessage(dwFlags, lpSource, dwMessageId);
    if (!text) return 0;
    if (!(dwFlags & FORMAT_MESSAGE_IGNORE_INSERTS) && strchr(text, '%')) return Fail(ERROR_INVALID_PARAMETER), 0;
    const size_t length = strlen(text);
    if (allocate) return WriteAllocated(allocated, nSize, text, length);
    if (nSize < length + sizeof kLineEnd) return Fail(ERROR_INSUFFICIENT_BUFFER), 0;
    Write(lpBuffer, text, length);
    return static_cast<DWORD>(length + sizeof kLineEnd - 1);
}

HLOCAL LocalFree(HLOCAL hMem) {
    free(hMem);
    return nullptr;
}
