// The outer and the inner layers of a BinHex text as a decoder meets them: where the data starts, and its characters;
// header block, forks and CRCs.
#pragma once

#include "engine/output.h"
#include "engine/verdict.h"

namespace talvo {

// The text after the ":" that opens the data, which sets DataFound; empty while it has not come. Everything in front
// is skipped: the data follows a line that starts like the identification line, as the next line that is not empty.
ByteSpan FindBinHexData(BinHexState& state, ByteSpan text) noexcept;

// An upper bound of the bytes that ReadBinHexCharacters makes of `size` more characters.
uint64_t BinHexBytesBound(const GroupState& group, uint64_t size) noexcept;

// Turns characters into bytes up to the closing ":" and its line break, which set Finished. White space counts nowhere.
// False: the verdict has an error.
[[nodiscard]] bool ReadBinHexCharacters(Working& now, ByteSpan text, bool endOfData, Verdict& verdict,
                                        Writer& write) noexcept;

// The innermost layer. Of what comes in, the forks go to the output.
class ForkReader {
public:
    // `size` bytes will come in this call. The output is allocated when the first of a fork arrives, as no more than
    // the forks can still take of them.
    ForkReader(const Conversion& c, Verdict& verdict, Output& out, uint64_t size) noexcept
        : c_(c), s_(c.Now.BinHex), verdict_(verdict), out_(out), write_(out), coming_(size) {}

    // False: the call ends with Result().
    bool operator()(ByteSpan bytes) noexcept;
    // The last of this call has come in.
    bool Finish(bool endOfData) noexcept;
    HRESULT Result() const noexcept { return FAILED(failure_) ? failure_ : verdict_.Result(); }

private:
    // Each consumes its part from the front of `bytes`.
    bool TakeHeader(ByteSpan& bytes) noexcept;
    bool TakeFork(ByteSpan& bytes, uint32_t length, bool& done) noexcept;
    bool TakeLowByteOfCrc(ByteSpan& bytes) noexcept;

    bool CompleteHeader() noexcept;
    bool Keep(ByteSpan bytes) noexcept;
    void UpdateCrc() noexcept;
    bool AllDone() const noexcept { return s_.DataForkDone && s_.ResourceForkDone && !s_.CrcBytePending; }
    uint64_t ForkBytesLeft() const noexcept;

    const Conversion& c_;
    BinHexState& s_;
    Verdict& verdict_;
    Output& out_;
    Writer write_;
    uint64_t coming_;         // bytes of this call not yet taken
    uint32_t crcCovers_ = 0;  // output bytes that ForkCrc knows of, or that belong to the fork before
    HRESULT failure_ = S_OK;
};

}  // namespace talvo
