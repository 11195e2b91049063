// The run-length layer of BinHex. Equal bytes in a row are a run of up to 255:
//
//   byte, not the marker   1 or 2 times: the byte itself, that often     3 to 255 times: byte, 0x90, count
//   the marker, 0x90       once: 0x90, 0                                 2 to 255 times: 0x90, 0, 0x90, count
//
// Both coders hand their result to a sink in pieces of any size, so that the same rules measure and write.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "engine/session.h"
#include "engine/verdict.h"

namespace talvo {

inline constexpr BYTE kRunMarker = 0x90;
inline constexpr unsigned kLongestRun = 255;

// How many bytes from the front are surely runs of their own, written as they are: no marker, and different from the
// byte that follows. The last byte is never counted.
size_t PlainPrefix(ByteSpan bytes) noexcept;

// How many bytes from the front are `value`.
size_t EqualPrefix(ByteSpan bytes, BYTE value) noexcept;

class RunEncoder {
public:
    RunEncoder(BYTE value, unsigned length) noexcept : byte_(value), length_(length) {}

    // The run of the last byte stays open. `sink` is void(ByteSpan).
    template <class Sink>
    void Encode(ByteSpan bytes, Sink&& sink) noexcept {
        while (!bytes.empty()) {
            const size_t room = length_ == 0 ? 0 : kLongestRun - length_;
            if (const size_t same = EqualPrefix(bytes.first(std::min(bytes.size(), room)), byte_); same != 0) {
                length_ += static_cast<unsigned>(same);
                bytes = bytes.subspan(same);
                continue;
            }
            Flush(sink);
            const size_t plain = PlainPrefix(bytes);
            if (plain != 0) sink(bytes.first(plain));
            byte_ = bytes[plain];
            length_ = 1;
            bytes = bytes.subspan(plain + 1);
        }
    }

    template <class Sink>
    void Flush(Sink&& sink) noexcept {
        const BYTE count = static_cast<BYTE>(length_);
        const BYTE plain[] = {byte_, kRunMarker, count};
        const BYTE marker[] = {kRunMarker, 0, kRunMarker, count};
        if (byte_ == kRunMarker) {
            sink(ByteSpan(marker, length_ == 0 ? 0 : length_ == 1 ? 2 : 4));
        } else if (length_ == 2) {
            const BYTE pair[] = {byte_, byte_};
            sink(ByteSpan(pair, 2));
        } else {
            sink(ByteSpan(plain, length_ <= 1 ? length_ : 3));
        }
        length_ = 0;
    }

    BYTE Byte() const noexcept { return byte_; }
    unsigned Length() const noexcept { return length_; }

private:
    BYTE byte_;
    unsigned length_;  // 0: no run is open
};

class RunDecoder {
public:
    RunDecoder(BYTE value, bool nothingHeld, bool markerSeen) noexcept
        : byte_(value), nothingHeld_(nothingHeld), markerSeen_(markerSeen) {}

    // A byte is held back until it is known whether a count follows. `sink` is bool(ByteSpan); false ends the decoding,
    // as does a defect that `verdict` does not repair.
    template <class Sink>
    [[nodiscard]] bool Decode(ByteSpan coded, Verdict& verdict, Sink&& sink) noexcept {
        while (!coded.empty()) {
            size_t taken = 1;
            if (std::exchange(markerSeen_, false)) {
                if (!Count(coded.front(), verdict, sink)) return false;
            } else {
                const void* const marker = std::memchr(coded.data(), kRunMarker, coded.size());
                markerSeen_ = marker != nullptr;
                taken = marker ? static_cast<size_t>(static_cast<const BYTE*>(marker) - coded.data()) : coded.size();
                if (taken != 0 && !Literal(coded.first(taken), sink)) return false;
                if (markerSeen_) ++taken;
            }
            coded = coded.subspan(taken);
        }
        return true;
    }

    // End of data. A marker without its count is dropped.
    template <class Sink>
    [[nodiscard]] bool Finish(Sink&& sink) noexcept {
        return std::exchange(nothingHeld_, true) || sink(ByteSpan(&byte_, 1));
    }

    BYTE Byte() const noexcept { return byte_; }
    bool NothingHeld() const noexcept { return nothingHeld_; }
    bool MarkerSeen() const noexcept { return markerSeen_; }

private:
    void Hold(BYTE value) noexcept {
        byte_ = value;
        nothingHeld_ = false;
    }

    template <class Sink>
    bool Literal(ByteSpan bytes, Sink& sink) noexcept {
        if (!nothingHeld_ && !sink(ByteSpan(&byte_, 1))) return false;
        Hold(bytes.back());
        return bytes.size() == 1 || sink(bytes.first(bytes.size() - 1));
    }

    // The byte after a marker. A count includes the held byte itself.
    template <class Sink>
    bool Count(BYTE count, Verdict& verdict, Sink& sink) noexcept {
        if (count == 0) {
            const BYTE marker = kRunMarker;
            return Literal(ByteSpan(&marker, 1), sink);
        }
        if (nothingHeld_) {
            if (!verdict.Repairs(berInvalidCharacterInData)) return false;
            Hold(count);
            return true;
        }
        BYTE run[kLongestRun];
        std::memset(run, byte_, count);
        nothingHeld_ = true;
        return sink(ByteSpan(run, count));
    }

    BYTE byte_;
    bool nothingHeld_;
    bool markerSeen_;
};

}  // namespace talvo
