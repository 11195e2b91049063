// The streaming converter behind every format object: the options of one format and the state of its open conversion.
//
// A session is a record that the format steps work on; it knows no interface and takes no lock but the one that its
// owner lends for header values. The owner admits one call at a time and changes options only while State is Idle.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>
#include <mutex>

#include "com/lock.h"
#include "com/unique.h"
#include "engine/line_break.h"

namespace talvo {

enum class FormatKind : int32_t { UU = 0, XX = 1, Base64 = 2, Hexa = 3, QuotedPrintable = 4, BinHex = 5 };

enum class SessionState : uint32_t { Idle = 0, Encoding = 1, Decoding = 2 };

// Permission bits that a new session carries: octal 444.
inline constexpr uint16_t kDefaultPermissions = 292;
inline constexpr uint32_t kDecoderWorkSize = 1024;
// BinHex: 22 bytes of fields and a name of up to 255.
inline constexpr uint32_t kBinHexFixedHeaderSize = 22;
inline constexpr uint32_t kBinHexHeaderCapacity = kBinHexFixedHeaderSize + 255;

class EncodingSession {
public:
    EncodingSession() noexcept = default;
    EncodingSession(const EncodingSession&) = delete;
    EncodingSession& operator=(const EncodingSession&) = delete;
    virtual ~EncodingSession();

    // Converts one chunk; the first opens the session, `endOfData` closes it. Success (S_OK or a warning): a new task
    // block that the caller owns, or null and 0. A step that fails returns no block and closes the session. Refused
    // with the session as it was: E_POINTER (null `source` with a size), berInternalError (a missing out parameter),
    // berSessionOpened (the other direction is open).
    HRESULT EncodeChunk(const BYTE* source, uint32_t size, bool endOfData, BYTE** out, DWORD* outSize) noexcept;
    HRESULT DecodeChunk(const BYTE* source, uint32_t size, bool endOfData, BYTE** out, DWORD* outSize) noexcept;
    // Abandons the open conversion. Options keep their values, header values that a decoding has read included.
    void ResetSession() noexcept;

    // All setters: berSessionOpened while a conversion is open, and the option keeps its value.
    HRESULT SelectFormat(FormatKind kind) noexcept;
    // 0 stays 0 (the format's default line); other values are moved into the format's range.
    HRESULT SetMaxLineLength(uint32_t length) noexcept;
    // berInvalidEndOfLineType for a value that is no line break type or that the format cannot do without.
    HRESULT SetEndOfLineType(int32_t type) noexcept;
    // Store a copy; null counts as empty. E_OUTOFMEMORY leaves no name.
    HRESULT SetHeaderFilename(const BSTR name) noexcept;
    HRESULT SetBinHexHeaderFilename(const BSTR name) noexcept;

    // Held while a decoding session replaces header values, so that the owner's readers see whole ones. May be null.
    com::CriticalSection* HeaderLock = nullptr;
    // Takes HeaderLock, if there is one, for the life of the result.
    std::unique_lock<com::CriticalSection> LockHeader() const noexcept {
        return HeaderLock ? std::unique_lock(*HeaderLock) : std::unique_lock<com::CriticalSection>();
    }

    // State and options.
    SessionState State = SessionState::Idle;
    FormatKind Kind = FormatKind::UU;
    uint32_t MaxLineLength = 0;
    int32_t EndOfLineType = kCrLf;
    bool ContinueOnInvalidData = false;
    bool IncludeHeaderFooter = true;
    com::UniqueBstr HeaderFilename;
    uint16_t HeaderPermissions = kDefaultPermissions;

    // The conversion underway; a format step uses the fields of its format only.
    bool StartOfSession = false;  // no step has run yet
    uint32_t Accumulator = 0;     // bits of the group being built
    uint16_t HeldCount = 0;       // bytes (encoding) or characters (decoding) held in Accumulator
    uint32_t LineLimit = 0;       // characters per encoded line
    bool BreakPending = false;    // a line break is owed; quoted-printable: one was read and is not yet written
    uint32_t Column = 0;          // characters on the current output line
    uint16_t PadCount = 0;        // Base64: "=" of the current quantum
    com::UniqueTaskBytes WorkBuffer;
    uint32_t WorkLength = 0;      // bytes held in WorkBuffer
    uint16_t LineByteCount = 0;   // UU, XX: source bytes in the pending output line
    uint16_t DeclaredLength = 0;  // UU, XX: bytes announced by the current line's length character
    bool AtLineStart = false;     // UU, XX, BinHex parser flags
    bool MayBeFooter = false;
    bool DeferredInvalid = false;
    uint16_t EndMatched = 0;  // UU, XX: characters of "end" matched on the current line
    bool HeaderFound = false;
    bool EndKeyword = false;
    bool Finished = false;

    // BinHex.
    com::UniqueTaskBytes HeaderBlock;
    uint32_t HeaderBlockLength = 0;
    uint8_t RunByte = 0;
    uint16_t RunLength = 0;
    uint16_t ForkCrc = 0;
    uint64_t ForkCount = 0;  // encoding: source bytes so far; decoding: bytes of the current fork
    bool DataForkDone = false;
    com::UniqueBstr BinHexHeaderFilename;
    BYTE HeaderType[4] = {};
    BYTE HeaderCreator[4] = {};
    uint16_t HeaderFlags = 0;
    uint32_t HeaderDataForkLength = 0;
    uint32_t HeaderResourceForkLength = 0;
    bool RunMarkerSeen = false;
    bool NothingHeld = false;
    uint32_t HeaderReceived = 0;
    bool CrcBytePending = false;
    uint16_t PendingCrc = 0;
    bool ResourceForkDone = false;

    // Quoted-printable.
    bool LastNotBlank = false;
    bool SoftBreakDue = false;
    bool HasPending = false;
    bool CarriageReturnSeen = false;
    uint8_t PendingByte = 0;
    uint32_t PendingWidth = 0;
    uint32_t WorkCapacity = 0;

private:
    HRESULT RunChunk(SessionState direction, const BYTE* source, uint32_t size, bool endOfData, BYTE** out,
                     DWORD* outSize) noexcept;
    HRESULT Open(SessionState direction) noexcept;
    HRESULT BeginEncoding() noexcept;
    HRESULT BeginDecoding() noexcept;
    void ClearWorkingFields() noexcept;
    void ClearHeaderValues() noexcept;
    HRESULT AllocateWork(uint32_t size) noexcept;
    void FinishSession() noexcept;
    HRESULT SetName(com::UniqueBstr& field, const BSTR name) noexcept;
};

}  // namespace talvo
