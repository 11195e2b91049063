// The innermost layer of a BinHex text as a decoder meets it: header block, forks and CRCs. Of what comes in, the forks
// go to the output.
#pragma once

#include "engine/output.h"
#include "engine/session.h"
#include "engine/verdict.h"

namespace talvo {

class ForkReader {
public:
    // `size` bytes will come in this call. The output is allocated when the first of a fork arrives, as no more than
    // the forks can still take of them.
    ForkReader(EncodingSession& session, Verdict& verdict, Output& out, uint64_t size) noexcept
        : s_(session), verdict_(verdict), out_(out), write_(out), coming_(size) {}

    // False: the call ends with Result().
    bool operator()(ByteSpan bytes) noexcept;
    // The last of this call has come in.
    bool Finish(bool endOfData) noexcept;
    HRESULT Result() const noexcept { return FAILED(failure_) ? failure_ : verdict_.Result(); }

private:
    // Each takes what is its own from the front of `bytes` and drops it there.
    bool TakeHeader(ByteSpan& bytes) noexcept;
    bool TakeFork(ByteSpan& bytes, uint32_t length, bool& done) noexcept;
    bool TakeLowByteOfCrc(ByteSpan& bytes) noexcept;

    bool CompleteHeader() noexcept;
    bool Keep(ByteSpan bytes) noexcept;
    void UpdateCrc() noexcept;
    bool AllDone() const noexcept { return s_.DataForkDone && s_.ResourceForkDone && !s_.CrcBytePending; }
    uint64_t ForkBytesLeft() const noexcept;

    EncodingSession& s_;
    Verdict& verdict_;
    Output& out_;
    Writer write_;
    uint64_t coming_;         // bytes of this call not yet taken
    uint32_t crcCovers_ = 0;  // output bytes that ForkCrc knows of, or that belong to the fork before
    HRESULT failure_ = S_OK;
};

}  // namespace talvo
