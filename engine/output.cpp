// Allocation of a step's output, and its lines: their sizes in advance, and their places.
#include "engine/output.h"

#include <algorithm>
#include <limits>

namespace talvo {

HRESULT Output::Allocate(uint64_t size) noexcept {
    Release();
    if (size == 0) return S_OK;
    if (size > std::numeric_limits<uint32_t>::max()) return E_OUTOFMEMORY;
    data_.Reset(static_cast<BYTE*>(com::TaskAlloc(static_cast<SIZE_T>(size))));
    if (!data_) return E_OUTOFMEMORY;
    size_ = static_cast<uint32_t>(size);
    return S_OK;
}

HRESULT Output::GrowTo(uint64_t needed, uint64_t wanted) noexcept {
    constexpr uint64_t kMax = std::numeric_limits<uint32_t>::max();
    if (needed > kMax) return E_OUTOFMEMORY;
    for (const uint64_t size : {std::min(wanted, kMax), needed}) {
        if (!Resize(static_cast<uint32_t>(size))) continue;
        size_ = static_cast<uint32_t>(size);
        return S_OK;
    }
    return E_OUTOFMEMORY;
}

void Output::ShrinkTo(uint32_t size) noexcept {
    if (size == 0) return Release();
    if (size == size_) return;
    static_cast<void>(Resize(size));  // a shrink that the allocator refuses costs memory, not data
    size_ = size;
}

bool Output::Resize(uint32_t size) noexcept {
    void* const block = com::TaskRealloc(data_.Get(), size);
    if (!block) return false;
    static_cast<void>(data_.Detach());
    data_.Reset(static_cast<BYTE*>(block));
    return true;
}

void Output::Release() noexcept {
    data_.Reset();
    size_ = 0;
}

void Output::Hand(BYTE** data, DWORD* size) noexcept {
    *data = data_.Detach();
    *size = size_;
    size_ = 0;
}

namespace {

uint64_t BreakCount(const LineState& lines, uint64_t characters, bool opensWithBreak) noexcept {
    const uint64_t column = lines.Column + characters;
    return (column > 0 ? (column - 1) / lines.Limit : 0) + (opensWithBreak ? 1 : 0);
}

}  // namespace

uint64_t LinedSize(const Conversion& c, uint64_t characters, bool opensWithBreak) noexcept {
    const uint64_t breaks = BreakCount(c.Now.Lines, characters, opensWithBreak);
    return characters + breaks * LineBreakBytes(c.Chosen.EndOfLineType).size();
}

LineWriter::LineWriter(const Conversion& c, const Output& out, uint32_t groupCharacters, bool opensWithBreak) noexcept
    : lines_(c.Now.Lines),
      lineBreak_(LineBreakBytes(c.Chosen.EndOfLineType)),
      write_(out),
      groupCharacters_(groupCharacters) {
    if (opensWithBreak) WritePendingBreak();
}

BYTE* LineWriter::Place(size_t& groups) noexcept {
    WritePendingBreak();
    groups = std::min<size_t>(groups, (lines_.Limit - lines_.Column) / groupCharacters_);
    BYTE* const place = write_.Take(groups * groupCharacters_);
    lines_.Column += static_cast<uint32_t>(groups) * groupCharacters_;
    if (lines_.Limit - lines_.Column < groupCharacters_) {
        lines_.BreakPending = true;
        lines_.Column = 0;
    }
    return place;
}

void LineWriter::Outside(ByteSpan text) noexcept {
    write_.Put(text);
    write_.Put(lineBreak_);
}

}  // namespace talvo
