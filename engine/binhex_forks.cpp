// These fields say how far the stream has come: HeaderReceived, then DataForkDone, ResourceForkDone and, between the two
// bytes of a CRC, CrcBytePending. Fork lengths are compared by what is missing, which does not overflow.
#include <algorithm>
#include <cstring>

#include "engine/binhex_decode.h"
#include "engine/binhex_stream.h"
#include "engine/crc16.h"

namespace talvo {

bool ForkReader::operator()(ByteSpan bytes) noexcept {
    while (!bytes.empty()) {
        const size_t before = bytes.size();
        bool good = true;
        if (s_.HeaderReceived < s_.HeaderBlockLength) {
            good = TakeHeader(bytes);
        } else if (s_.CrcBytePending) {
            good = TakeLowByteOfCrc(bytes);
        } else if (!s_.DataForkDone) {
            good = TakeFork(bytes, c_.Header.HeaderDataForkLength, s_.DataForkDone);
        } else if (!s_.ResourceForkDone) {
            good = TakeFork(bytes, c_.Header.HeaderResourceForkLength, s_.ResourceForkDone);
        } else {
            return true;
        }
        if (!good) return false;
        coming_ -= before - bytes.size();
    }
    return true;
}

bool ForkReader::Finish(bool endOfData) noexcept {
    UpdateCrc();
    out_.ShrinkTo(write_.Count());
    return !endOfData || AllDone() || verdict_.Repairs(berInvalidEndOfData);
}

bool ForkReader::TakeHeader(ByteSpan& bytes) noexcept {
    if (s_.HeaderReceived == 0) s_.HeaderBlockLength += bytes.front();
    const auto count = std::min<size_t>(bytes.size(), s_.HeaderBlockLength - s_.HeaderReceived);
    std::memcpy(s_.HeaderBlock.Get() + s_.HeaderReceived, bytes.data(), count);
    s_.HeaderReceived += static_cast<uint32_t>(count);
    bytes = bytes.subspan(count);
    return s_.HeaderReceived != s_.HeaderBlockLength || CompleteHeader();
}

bool ForkReader::CompleteHeader() noexcept {
    const ByteSpan block(s_.HeaderBlock.Get(), s_.HeaderBlockLength);
    if (!IsIntact(block) && !verdict_.Repairs(berInvalidHeaderChecksum)) return false;
    failure_ = StoreHeaderValues(c_, block);
    return SUCCEEDED(failure_);
}

// The fork's bytes, then the high byte of its CRC.
bool ForkReader::TakeFork(ByteSpan& bytes, uint32_t length, bool& done) noexcept {
    const auto count = static_cast<size_t>(std::min<uint64_t>(bytes.size(), length - s_.ForkCount));
    if (!Keep(bytes.first(count))) return false;
    s_.ForkCount += count;
    bytes = bytes.subspan(count);
    if (bytes.empty()) return true;

    UpdateCrc();
    s_.PendingCrc = bytes.front();
    s_.CrcBytePending = true;
    s_.ForkCount = 0;
    done = true;
    bytes = bytes.subspan(1);
    return true;
}

bool ForkReader::TakeLowByteOfCrc(ByteSpan& bytes) noexcept {
    const bool good = s_.ForkCrc == (s_.PendingCrc << 8 | bytes.front());
    s_.CrcBytePending = false;
    s_.ForkCrc = 0;
    bytes = bytes.subspan(1);
    return good || verdict_.Repairs(berInvalidChecksum);
}

bool ForkReader::Keep(ByteSpan bytes) noexcept {
    if (bytes.empty()) return true;
    if (!out_.Data()) {
        failure_ = out_.Allocate(std::min(coming_, ForkBytesLeft()));
        if (FAILED(failure_)) return false;
        write_ = Writer(out_);
    }
    if (!write_.Put(bytes)) failure_ = berInternalError;
    return SUCCEEDED(failure_);
}

uint64_t ForkReader::ForkBytesLeft() const noexcept {
    const uint64_t data = s_.DataForkDone ? 0 : c_.Header.HeaderDataForkLength;
    return data + c_.Header.HeaderResourceForkLength - s_.ForkCount;
}

void ForkReader::UpdateCrc() noexcept {
    if (!out_.Data()) return;
    s_.ForkCrc = Crc16(ByteSpan(out_.Data() + crcCovers_, write_.Count() - crcCovers_), s_.ForkCrc);
    crcCovers_ = write_.Count();
}

}  // namespace talvo
