// See user_interface.h.
#include "tests/windows/user_interface.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

bool PumpUntil(const std::function<bool()>& done) {
    return WaitUntil([&] {
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
        return done();
    });
}

bool WaitUntil(const std::function<bool()>& done) {
    const DWORD start = GetTickCount();
    while (!done()) {
        if (GetTickCount() - start > 10000) return false;
        Sleep(5);
    }
    return true;
}

// --- imports -------------------------------------------------------------------------------------------------------

ImportHook::ImportHook(const char* library, const char* name, void* replacement) : slot_(nullptr) {
    auto* const base = reinterpret_cast<BYTE*>(Module::Get().Handle());
    const auto* const headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD start = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* row = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + start); row->Name && !slot_; ++row) {
        if (lstrcmpiA(reinterpret_cast<char*>(base + row->Name), library) != 0) continue;
        const auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + row->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<void**>(base + row->FirstThunk);
        for (; names->u1.AddressOfData && !slot_; ++names, ++addresses) {
            const auto* const import = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) slot_ = addresses;
        }
    }
    if (!slot_) return;
    original_ = *slot_;
    Write(slot_, replacement);
}

ImportHook::~ImportHook() {
    if (slot_) Write(slot_, original_);
}

void ImportHook::Write(void** slot, void* value) {
    DWORD old = 0;
    VirtualProtect(slot, sizeof value, PAGE_READWRITE, &old);
    *slot = value;
    VirtualProtect(slot, sizeof value, old, &old);
}

// --- pixels --------------------------------------------------------------------------------------------------------

int Pixels::Count(DWORD colour) const {
    int count = 0;
    for (const DWORD pixel : Colours) count += pixel == colour;
    return count;
}

std::ostream& operator<<(std::ostream& out, const Pixels& pixels) {
    return out << pixels.Width << " x " << pixels.Height << " pixels";
}

Canvas::Canvas(int width, int height, DWORD colour) : width_(width), height_(height), dc_(CreateCompatibleDC(nullptr)) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits_, nullptr, 0);
    old_ = SelectObject(dc_, bitmap_);
    std::fill_n(static_cast<DWORD*>(bits_), width * height, colour);
}

Canvas::~Canvas() {
    SelectObject(dc_, old_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
}

Pixels Canvas::Read() const {
    GdiFlush();
    Pixels pixels{width_, height_, {}};
    const auto* const from = static_cast<const DWORD*>(bits_);
    for (int i = 0; i < width_ * height_; ++i) pixels.Colours.push_back(from[i] & 0xFFFFFF);
    return pixels;
}

Pixels Picture() {
    const HBITMAP bitmap = LoadBitmapA(Module::Get().Handle(), MAKEINTRESOURCEA(201));
    const Canvas canvas(32, 32, 0);
    const HDC dc = CreateCompatibleDC(nullptr);
    const HGDIOBJ old = SelectObject(dc, bitmap);
    BitBlt(canvas.Dc(), 0, 0, 32, 32, dc, 0, 0, SRCCOPY);
    SelectObject(dc, old);
    DeleteDC(dc);
    DeleteObject(bitmap);
    return canvas.Read();
}

Pixels ScreenPixels(const RECT& place) {
    const Canvas canvas(place.right - place.left, place.bottom - place.top, 0);
    const HDC screen = GetDC(nullptr);
    BitBlt(canvas.Dc(), 0, 0, place.right - place.left, place.bottom - place.top, screen, place.left, place.top,
           SRCCOPY);
    ReleaseDC(nullptr, screen);
    return canvas.Read();
}

RECT ScreenPlace(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    return place;
}

void KeepPicture(const char* name, const Pixels& pixels) {
    const char* const folder = std::getenv("TALVO_PICTURES");
    if (!folder) return;
    std::FILE* const file = std::fopen((std::string(folder) + "\\" + name + ".bmp").c_str(), "wb");
    if (!file) return;
    const auto size = static_cast<DWORD>(pixels.Colours.size() * 4);
    BITMAPFILEHEADER header{};
    std::memcpy(&header.bfType, "BM", 2);
    header.bfOffBits = sizeof header + sizeof(BITMAPINFOHEADER);
    header.bfSize = header.bfOffBits + size;
    const BITMAPINFOHEADER info{sizeof info, pixels.Width, -pixels.Height, 1, 32, BI_RGB, size, 0, 0, 0, 0};
    std::fwrite(&header, sizeof header, 1, file);
    std::fwrite(&info, sizeof info, 1, file);
    std::fwrite(pixels.Colours.data(), 4, pixels.Colours.size(), file);
    std::fclose(file);
}

// --- counts --------------------------------------------------------------------------------------------------------

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

static BOOL CALLBACK CountWindow(HWND window, LPARAM count) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId()) ++*reinterpret_cast<int*>(count);
    return TRUE;
}

int CountWindows() {
    int count = 0;
    EnumWindows(&CountWindow, reinterpret_cast<LPARAM>(&count));
    return count;
}

}  // namespace talvo::test
