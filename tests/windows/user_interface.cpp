// See user_interface.h.
#include "tests/windows/user_interface.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <thread>

namespace talvo::test {

void OnUiThread(const std::function<void()>& function) {
    std::thread([&] {
        OleInitialize(nullptr);
        function();
        SetErrorInfo(0, nullptr);
        OleUninitialize();
    }).join();
}

bool WaitUntil(const std::function<bool()>& done) {
    const DWORD start = GetTickCount();
    while (!done()) {
        if (GetTickCount() - start > 10000) return false;
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
        Sleep(5);
    }
    return true;
}

ImportHook::ImportHook(const char* library, const char* name, void* replacement) {
    auto* const base = reinterpret_cast<BYTE*>(Module::Get().Handle());
    const auto* const headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD start = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    original_ = Export<void>(GetModuleHandleA(library), name);
    for (auto* row = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + start); row->Name && !slot_; ++row) {
        auto* address = reinterpret_cast<void**>(base + row->FirstThunk);
        while (*address && *address != original_) ++address;
        if (*address) slot_ = address;
    }
    if (slot_) Write(replacement);
}

ImportHook::~ImportHook() {
    if (slot_) Write(original_);
}

void ImportHook::Write(void* value) {
    DWORD old = 0;
    VirtualProtect(slot_, sizeof value, PAGE_READWRITE, &old);
    *slot_ = value;
    VirtualProtect(slot_, sizeof value, old, &old);
}

std::ostream& operator<<(std::ostream& out, const Pixels& pixels) {
    return out << pixels.Width << " x " << pixels.Height << " pixels";
}

Pixels Drawn(int width, int height, DWORD colour, const std::function<void(HDC)>& draw) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HDC dc = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ old = SelectObject(dc, bitmap);
    auto* const first = static_cast<DWORD*>(bits);
    std::fill_n(first, width * height, colour);
    draw(dc);
    GdiFlush();
    Pixels pixels{width, height, {first, first + width * height}};
    for (DWORD& pixel : pixels.Colours) pixel &= 0xFFFFFF;
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
    return pixels;
}

void PaintPicture(HDC dc, int x, int y) {
    const HBITMAP bitmap = LoadBitmapA(Module::Get().Handle(), MAKEINTRESOURCEA(201));
    DrawStateA(dc, nullptr, nullptr, reinterpret_cast<LPARAM>(bitmap), 0, x, y, 32, 32, DST_BITMAP);
    DeleteObject(bitmap);
}

Pixels Picture() {
    return Drawn(32, 32, 0, [](HDC dc) { PaintPicture(dc, 0, 0); });
}

Pixels ScreenPixels(const RECT& place) {
    const int width = place.right - place.left, height = place.bottom - place.top;
    return Drawn(width, height, 0, [&](HDC dc) {
        const HDC screen = GetDC(nullptr);
        BitBlt(dc, 0, 0, width, height, screen, place.left, place.top, SRCCOPY);
        ReleaseDC(nullptr, screen);
    });
}

RECT ScreenPlace(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    return place;
}

bool ShowsPicture(HWND window) {
    const RECT at = ScreenPlace(window);
    return WaitUntil([&] { return ScreenPixels({at.left, at.top, at.left + 32, at.top + 32}) == Picture(); });
}

void KeepPicture(const char* name, const Pixels& pixels) {
    const char* const folder = std::getenv("TALVO_PICTURES");
    if (!folder) return;
    const auto size = static_cast<DWORD>(pixels.Colours.size() * 4);
    const BITMAPINFOHEADER info{sizeof info, pixels.Width, -pixels.Height, 1, 32, BI_RGB, size, 0, 0, 0, 0};
    const DWORD start = sizeof(BITMAPFILEHEADER) + sizeof info;
    const BITMAPFILEHEADER header{0x4D42, start + size, 0, 0, start};  // "BM"
    std::ofstream file(std::string(folder) + "\\" + name + ".bmp", std::ios::binary);
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    file.write(reinterpret_cast<const char*>(&info), sizeof info);
    file.write(reinterpret_cast<const char*>(pixels.Colours.data()), static_cast<std::streamsize>(size));
}

// Where the system does not count them for us (Wine), they are counted in the process's table of them: 65536 entries of
// 24 bytes, of which the type is not 0 while the entry is in use.
int CountDrawingObjects() {
    GdiFlush();
    if (const DWORD count = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return static_cast<int>(count);
    constexpr size_t kEntries = 65536, kEntrySize = 24, kType = 14;
    constexpr size_t kTableInProcess = sizeof(void*) == 8 ? 0xF8 : 0x94;
    const auto processBlock = Export<const BYTE*()>(GetModuleHandleA("ntdll.dll"), "RtlGetCurrentPeb");
    const auto* const table = *reinterpret_cast<BYTE* const*>(processBlock() + kTableInProcess);
    int count = 0;
    for (size_t i = 0; table && i < kEntries; ++i) count += table[i * kEntrySize + kType] != 0;
    return count;
}

}  // namespace talvo::test
