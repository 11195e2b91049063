// The chain steps: a sub-processor works before the format on the way out and after it on the way back.
#pragma once

#include <windows.h>

#include "TalvoBinaryEncoding.h"
#include "com/unique.h"
#include "engine/session.h"

namespace talvo {

// A task block with its size, as a processor returns it.
struct SubOutput {
    com::UniqueTaskBytes Bytes;
    DWORD Size = 0;
};

// Has `processor` process `source`. On success `bytes` is what the format encodes: `source` itself when the processor
// passed it through, else the content of `output`. A failure of the sub-processor is returned; its warnings are not.
HRESULT ProcessThrough(ITalvoProcessData& processor, ByteSpan source, LONG end, SubOutput& output,
                       ByteSpan& bytes) noexcept;

// Has `processor` revert `data`, which its output replaces unless it passed the data through. Returns the processor's
// result (S_OK for a pass-through), which takes the place of the decoder's own.
HRESULT RevertThrough(ITalvoProcessData& processor, LONG end, SubOutput& data) noexcept;

}  // namespace talvo
