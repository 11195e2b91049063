// The output of one step: a task-allocated block that is handed to the caller, and the checked way to fill it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstring>

#include "com/unique.h"
#include "engine/bytes.h"

namespace talvo {

// Owns the block until Hand gives it away; an error on the way releases it.
class Output {
public:
    // Room for exactly `size` bytes, not zeroed; no block for 0. Sizes count in 32 bits at the interfaces: what does
    // not fit there is E_OUTOFMEMORY.
    [[nodiscard]] HRESULT Allocate(uint64_t size) noexcept;
    // More room, what is written stays: `wanted` bytes, or what there is memory for, but `needed` at least.
    // E_OUTOFMEMORY leaves the block as it is.
    [[nodiscard]] HRESULT GrowTo(uint64_t needed, uint64_t wanted) noexcept;
    // Gives back what is not needed; `size` is at most the current one.
    void ShrinkTo(uint32_t size) noexcept;
    void Release() noexcept;
    // The caller owns the block from here on.
    void Hand(BYTE** data, DWORD* size) noexcept;

    BYTE* Data() const noexcept { return data_.Get(); }
    uint32_t Size() const noexcept { return size_; }

private:
    bool Resize(uint32_t size) noexcept;

    com::UniqueTaskBytes data_;
    uint32_t size_ = 0;
};

// Writes an Output from its start. A size that turns out too small is found here, never overrun.
class Writer {
public:
    explicit Writer(const Output& out) noexcept : begin_(out.Data()), next_(begin_), end_(begin_ + out.Size()) {}

    size_t Room() const noexcept { return static_cast<size_t>(end_ - next_); }
    uint32_t Count() const noexcept { return static_cast<uint32_t>(next_ - begin_); }
    bool Overrun() const noexcept { return overrun_; }
    // Nothing is left to write, and nothing was refused.
    bool Full() const noexcept { return next_ == end_ && !overrun_; }

    // The place of the next `count` bytes, which the caller fills; null when they do not fit.
    [[nodiscard]] BYTE* Take(size_t count) noexcept {
        if (count > Room()) {
            overrun_ = true;
            return nullptr;
        }
        BYTE* const place = next_;
        next_ += count;
        return place;
    }
    bool Put(ByteSpan bytes) noexcept {
        BYTE* const place = Take(bytes.size());
        if (place && !bytes.empty()) std::memcpy(place, bytes.data(), bytes.size());
        return place != nullptr || bytes.empty();
    }
    bool Put(BYTE byte) noexcept {
        BYTE* const place = Take(1);
        if (place) *place = byte;
        return place != nullptr;
    }
    // Gives back the last `count` bytes taken.
    void Return(size_t count) noexcept { next_ -= count; }

private:
    BYTE* begin_;
    BYTE* next_;
    BYTE* end_;
    bool overrun_ = false;
};

}  // namespace talvo
