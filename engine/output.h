// What a step writes: a task-allocated block that is handed to the caller, the checked way to fill it, and lines of
// groups of characters.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "com/unique.h"
#include "engine/session.h"
#include "server/results/result_codes.h"

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

// Three bytes are a group of four characters, of 6 bits each (Base64, UU, XX, BinHex).
inline constexpr uint32_t kGroupBytes = 3;
inline constexpr uint32_t kGroupCharacters = 4;

// The bytes of a group, from the low 24 bits.
constexpr std::array<BYTE, kGroupBytes> BytesOfGroup(uint32_t bits) noexcept {
    return {static_cast<BYTE>(bits >> 16), static_cast<BYTE>(bits >> 8), static_cast<BYTE>(bits)};
}

inline constexpr BYTE kCrLfBytes[] = {0x0D, 0x0A};

// The bytes of a line break; none for bltNone.
constexpr ByteSpan LineBreakBytes(int32_t type) noexcept {
    switch (type) {
        case kCrLf:
            return {kCrLfBytes, 2};
        case kLf:
            return {kCrLfBytes + 1, 1};
        case kCr:
            return {kCrLfBytes, 1};
        default:
            return {};
    }
}

// Text whose lines hold whole groups of characters (Base64, hexadecimal; BinHex, in groups of one). A line break is
// written when something comes behind it: a line that is complete has a pending break, which the next character or the
// end of the data brings out, in whatever call.

// Whether a call begins with a pending break.
inline bool OpensWithBreak(const Conversion& c, uint64_t sourceSize, bool endOfData) noexcept {
    return c.Now.Lines.BreakPending && (endOfData || sourceSize > 0);
}

// The exact size of `characters` more characters with their breaks.
uint64_t LinedSize(const Conversion& c, uint64_t characters, bool opensWithBreak) noexcept;

class LineWriter {
public:
    // Writes the pending break if the call begins with it.
    LineWriter(const Conversion& c, const Output& out, uint32_t groupCharacters, bool opensWithBreak) noexcept;

    // The place of the next groups, which the caller fills: `groups` of them, or as many as the line still takes. Null:
    // the output has no room for them.
    BYTE* Place(size_t& groups) noexcept;

    // What belongs to no line of groups: a header or a footer. It ends with a break of its own.
    void Outside(ByteSpan text) noexcept;

    bool Complete() const noexcept { return write_.Full(); }

private:
    void WritePendingBreak() noexcept {
        if (std::exchange(lines_.BreakPending, false)) write_.Put(lineBreak_);
    }

    LineState& lines_;
    const ByteSpan lineBreak_;
    Writer write_;
    uint32_t groupCharacters_;
};

// How an encode step of groups walks through its input: what completes the group held from before, whole groups in
// bulk, and what is left of one, byte by byte. GroupWriter has
//   void Hold(BYTE)                     takes one byte into the held group, which HeldBytes counts
//   void Groups(const BYTE*, size_t)    takes whole groups; none is held
//   void Finish()                       end of data
//   bool Complete()                     whether the output is full, exactly
template <class GroupWriter>
HRESULT EncodeAll(GroupWriter& writer, const GroupState& group, const StepInput& input) noexcept {
    ByteSpan rest = input.Source;
    for (; !rest.empty() && group.HeldBytes != 0; rest = rest.subspan(1)) writer.Hold(rest.front());
    const size_t groups = rest.size() / kGroupBytes;
    writer.Groups(rest.data(), groups);
    for (const BYTE byte : rest.subspan(groups * kGroupBytes)) writer.Hold(byte);
    if (input.EndOfData) writer.Finish();
    return writer.Complete() ? S_OK : berInternalError;
}

}  // namespace talvo
