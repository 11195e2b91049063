// Owners of drawing objects.
#pragma once

#include <windows.h>

#include "com/unique.h"

namespace talvo {

template <class Handle>
struct GdiTraits {
    using Value = Handle;
    static constexpr Value Null() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DeleteObject(value); }
};
using UniqueFont = com::UniqueAny<GdiTraits<HFONT>>;
using UniqueBitmap = com::UniqueAny<GdiTraits<HBITMAP>>;

struct MemoryDcTraits {
    using Value = HDC;
    static constexpr Value Null() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DeleteDC(value); }
};
using UniqueMemoryDc = com::UniqueAny<MemoryDcTraits>;

// An object is part of a device context while this exists.
class Selected {
public:
    Selected(HDC dc, HGDIOBJ object) noexcept : dc_(dc), old_(object ? SelectObject(dc, object) : nullptr) {}
    ~Selected() {
        if (old_) SelectObject(dc_, old_);
    }
    Selected(const Selected&) = delete;
    Selected& operator=(const Selected&) = delete;
    explicit operator bool() const noexcept { return old_ != nullptr; }

private:
    HDC dc_;
    HGDIOBJ old_;
};

}  // namespace talvo
