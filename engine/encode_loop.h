// How an encode step of groups walks through its input: what completes the group held from before, whole groups in
// bulk, and what is left of one, byte by byte.
#pragma once

#include "engine/bytes.h"
#include "engine/session.h"
#include "engine/sextets.h"
#include "engine/steps.h"
#include "server/results/result_codes.h"

namespace talvo {

// Writer has
//   void Hold(BYTE)                     takes one byte into the held group, which HeldCount of the session counts
//   void Groups(const BYTE*, size_t)    takes whole groups; none is held
//   void Finish()                       end of data
//   bool Complete()                     whether the output is full, exactly
template <class Writer>
HRESULT EncodeAll(Writer& writer, const EncodingSession& s, const StepInput& input) noexcept {
    ByteSpan rest = input.Source;
    for (; !rest.empty() && s.HeldCount != 0; rest = rest.subspan(1)) writer.Hold(rest.front());
    const size_t groups = rest.size() / kGroupBytes;
    writer.Groups(rest.data(), groups);
    for (const BYTE byte : rest.subspan(groups * kGroupBytes)) writer.Hold(byte);
    if (input.EndOfData) writer.Finish();
    return writer.Complete() ? S_OK : berInternalError;
}

}  // namespace talvo
