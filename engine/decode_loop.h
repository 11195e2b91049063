// How a decode step walks through its input: clean runs in bulk, every other character by itself; and what the steps
// share whose characters come in groups.
#pragma once

#include <algorithm>

#include "engine/output.h"
#include "engine/session.h"
#include "engine/verdict.h"
#include "server/results/result_codes.h"

namespace talvo {

// Decodes groups, returns how many: up to `groups`, or to the first with a character that is no digit.
using GroupKernel = size_t (*)(BYTE* out, const BYTE* in, size_t groups) noexcept;

// Whole clean groups from the front of `source`, as many as there is room for; returns the characters taken.
inline size_t CleanGroups(Writer& write, ByteSpan source, size_t groupCharacters, size_t groupBytes,
                          GroupKernel kernel) noexcept {
    const size_t groups = std::min(source.size() / groupCharacters, write.Room() / groupBytes);
    BYTE* const place = write.Take(groups * groupBytes);
    if (!place) return 0;
    const size_t done = kernel(place, source.data(), groups);
    write.Return((groups - done) * groupBytes);
    return done * groupCharacters;
}

// A reader, as DecodeAll wants it, without the rules of its characters.
class GroupReader {
public:
    GroupReader(const Conversion& c, const Output& out) noexcept
        : group_(c.Now.Group), write_(out), verdict_(c.Chosen.ContinueOnInvalidData) {}

    // End of data: nothing may be left of a group.
    bool Finish() noexcept { return DropHeld(berRemainingData); }

    HRESULT Result() const noexcept { return write_.Overrun() ? berInternalError : verdict_.Result(); }
    uint32_t Count() const noexcept { return write_.Count(); }

protected:
    // Whether the call goes on, without the characters held, which are a defect if there are any.
    bool DropHeld(HRESULT defect) noexcept {
        if (group_.HeldCharacters == 0) return true;
        if (!verdict_.Repairs(defect)) return false;
        Drop();
        return true;
    }

    // The group is complete. False: there is no room, and the call ends.
    bool PutGroup(ByteSpan bytes) noexcept {
        Drop();
        return write_.Put(bytes);
    }

    GroupState& group_;
    Writer write_;
    Verdict verdict_;

private:
    void Drop() noexcept {
        group_.Accumulator = 0;
        group_.HeldCharacters = 0;
    }
};

// Reader has
//   size_t CleanRun(ByteSpan)   takes what a kernel can, from the front; the characters taken
//   bool Character(BYTE)        takes one character; false: the call ends with Result()
//   bool Finish()               end of data; the same
//   HRESULT Result()            S_OK, the warning, or the error of the call
//   uint32_t Count()            bytes written to `out`, which holds room for all that one call can write
template <class Reader>
HRESULT DecodeAll(Reader reader, const StepInput& input, Output& out) noexcept {
    for (ByteSpan rest = input.Source; !rest.empty();) {
        rest = rest.subspan(reader.CleanRun(rest));
        if (rest.empty()) break;
        if (!reader.Character(rest.front())) return reader.Result();
        rest = rest.subspan(1);
    }
    if (input.EndOfData && !reader.Finish()) return reader.Result();
    out.ShrinkTo(reader.Count());
    return reader.Result();
}

}  // namespace talvo
