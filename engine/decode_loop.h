// How a decode step walks through its input: clean runs in bulk, every other character by itself.
#pragma once

#include "engine/output.h"
#include "engine/steps.h"

namespace talvo {

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
