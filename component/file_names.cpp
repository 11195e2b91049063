// Backslashes separate the parts of a name. Slashes do so where the build sets TALVO_SLASH_SEPARATES; on Windows a slash is
// a character of the name for what our methods promise, whatever the system makes of it later.
#include "component/file_names.h"

#include <cstring>
#include <string_view>

#include "com/narrow_text.h"

namespace talvo {
namespace {

using NameView = std::basic_string_view<WCHAR>;

constexpr NameView kSeparators = TALVO_SLASH_SEPARATES ? OLESTR("\\/") : OLESTR("\\");

NameView View(BSTR name) noexcept { return {name, SysStringLen(name)}; }

NameView LastPart(NameView name) noexcept {
    const size_t separator = name.find_last_of(kSeparators);
    return separator == NameView::npos ? name : name.substr(separator + 1);
}

}  // namespace

bool NamesFolder(BSTR name) noexcept {
    const NameView view = View(name);
    return !view.empty() && LastPart(view).empty();
}

HRESULT SetHeaderFilenameFromPath(BSTR sourceName, ITalvoEncodeData& format) noexcept {
    com::UniqueBstr present;
    if (const HRESULT hr = format.get_HeaderFilename(present.Put()); FAILED(hr)) return hr;
    const NameView last = LastPart(View(sourceName));
    if (SysStringLen(present.Get()) != 0 || last.empty()) return S_OK;
    const com::UniqueBstr name(SysAllocStringLen(last.data(), static_cast<UINT>(last.size())));
    return name ? format.put_HeaderFilename(name.Get()) : E_OUTOFMEMORY;
}

HRESULT JoinHeaderFilename(BSTR folder, ITalvoEncodeData& format, com::UniqueBstr& joined) noexcept {
    com::UniqueBstr name;
    if (const HRESULT hr = format.get_HeaderFilename(name.Put()); FAILED(hr)) return hr;
    const UINT folderLength = SysStringLen(folder);
    const UINT nameLength = SysStringLen(name.Get());
    joined.Reset(SysAllocStringLen(nullptr, folderLength + nameLength));
    if (!joined) return E_OUTOFMEMORY;
    std::memcpy(joined.Get(), folder, folderLength * sizeof(WCHAR));
    if (nameLength != 0) std::memcpy(joined.Get() + folderLength, name.Get(), nameLength * sizeof(WCHAR));
    return S_OK;
}

HRESULT AnsiPath(BSTR name, com::UniqueTaskBytes& path) noexcept {
    path.Reset();
    if (!name) return S_OK;
    const uint32_t size = com::NarrowSize(CP_ACP, name);
    if (size == 0 && SysStringLen(name) != 0) return E_OUTOFMEMORY;  // longer than the system can count
    path.Reset(static_cast<BYTE*>(com::TaskAlloc(SIZE_T{size} + 1)));
    if (!path) return E_OUTOFMEMORY;
    static_cast<void>(com::Narrow(CP_ACP, name, path.Get(), size));
    path.Get()[size] = 0;
    return S_OK;
}

}  // namespace talvo
