// The control, and in short what tests ask of it: its size, and the bytes that it saves.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/windows/user_interface.h"

namespace talvo::test {

template <class Interface>
com::ComPtr<Interface> Control() {
    return Create<Interface>(CLSID_TalvoBinaryEncoding);
}

constexpr DWORD kMiscStatus = 132497;

// 32 pixels of the screen, in 0.01 mm.
inline SIZEL Natural() {
    const HDC screen = GetDC(nullptr);
    const int across = GetDeviceCaps(screen, LOGPIXELSX), down = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return {MulDiv(32, 2540, across), MulDiv(32, 2540, down)};
}

inline std::string Show(const SIZEL& size) { return std::to_string(size.cx) + " x " + std::to_string(size.cy); }

template <class Interface>
std::string ExtentOf(const com::ComPtr<Interface>& control) {
    SIZEL size{-1, -1};
    const HRESULT hr = As<IOleObject>(control)->GetExtent(DVASPECT_CONTENT, &size);
    return hr == S_OK ? Show(size) : Name(hr);
}

inline com::ComPtr<IStream> StreamOf(const std::vector<BYTE>& bytes) {
    com::ComPtr<IStream> stream;
    CreateStreamOnHGlobal(nullptr, TRUE, stream.Put());
    stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    return stream;
}

inline std::vector<BYTE> SavedBytes(const com::ComPtr<IPersistStreamInit>& control) {
    const auto stream = StreamOf({});
    EXPECT_EQ(control->Save(stream.Get(), TRUE), S_OK);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    std::vector<BYTE> bytes(100);
    ULONG read = 0;
    stream->Read(bytes.data(), 100, &read);
    bytes.resize(read);
    return bytes;
}

// The saved bytes with another width.
inline std::vector<BYTE> WithWidth(std::vector<BYTE> saved, DWORD width) {
    for (size_t i = 0; i < 4; ++i) saved[saved.size() - 8 + i] = static_cast<BYTE>(width >> 8 * i);
    return saved;
}

}  // namespace talvo::test
