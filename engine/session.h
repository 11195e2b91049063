// The streaming converter behind every format object: a record of options, header values and the open conversion, each
// with a lifetime of its own, and the format steps that work on it.
//
// A session knows no interface and takes no lock but the one that its owner lends for header values. The owner admits
// one call at a time and changes options only while State is Idle.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>
#include <mutex>
#include <span>

#include "com/lock.h"
#include "com/unique.h"

namespace talvo {

// A borrowed, read-only range of bytes.
using ByteSpan = std::span<const BYTE>;

enum class FormatKind : int32_t { UU = 0, XX = 1, Base64 = 2, Hexa = 3, QuotedPrintable = 4, BinHex = 5 };

enum class SessionState : uint32_t { Idle = 0, Encoding = 1, Decoding = 2 };

// Values of ETBEndOfLineType.
enum EndOfLine : int32_t { kNoBreak = 0, kCrLf = 1, kLf = 2, kCr = 3 };

// What a client sets; frozen while a conversion is open.
struct Options {
    FormatKind Kind = FormatKind::UU;
    uint32_t MaxLineLength = 0;
    int32_t EndOfLineType = kCrLf;
    bool ContinueOnInvalidData = false;
    bool IncludeHeaderFooter = true;
};

// What the header of a text says: set by a client for an encoding, and by the text in a decoding. They stay until
// either sets them anew.
struct HeaderValues {
    com::UniqueBstr HeaderFilename;    // UU, XX
    uint16_t HeaderPermissions = 292;  // octal 444
    com::UniqueBstr BinHexHeaderFilename;
    BYTE HeaderType[4] = {};
    BYTE HeaderCreator[4] = {};
    uint16_t HeaderFlags = 0;
    uint32_t HeaderDataForkLength = 0;
    uint32_t HeaderResourceForkLength = 0;
};

// The lines of encoded text.
struct LineState {
    uint32_t Limit = 0;         // characters per line
    uint32_t Column = 0;        // characters on the current line
    bool BreakPending = false;  // the last line is complete, its break not yet written
};

// A group of bytes (encoding) or characters (decoding) that a call has left incomplete; all but quoted-printable.
struct GroupState {
    uint32_t Accumulator = 0;
    uint16_t HeldBytes = 0;
    uint16_t HeldCharacters = 0;
    uint16_t PadCount = 0;  // Base64: "=" of the current quantum
};

// UU and XX.
struct UuXxState {
    static constexpr uint32_t kMaxLineBytes = 63;  // the value of a length character has six bits
    static constexpr uint32_t kMaxLineCharacters = kMaxLineBytes / 3 * 4;
    static constexpr uint32_t kSearchedSize = 1024;

    // Encoding: the unfinished line, behind its length character.
    BYTE LineText[kMaxLineCharacters];
    uint32_t LineTextLength = 0;
    uint16_t LineByteCount = 0;  // the source bytes in it

    // Decoding, while the header line is looked for.
    com::UniqueTaskBytes SearchedLine;  // kSearchedSize bytes
    uint32_t SearchedLength = 0;
    bool HeaderFound = false;

    // Decoding, behind it.
    BYTE LineBytes[kMaxLineBytes];
    uint32_t LineBytesLength = 0;
    uint16_t DeclaredLength = 0;   // bytes announced by the current line's length character
    bool AtLineStart = true;       // also while the header line is looked for
    bool MayBeFooter = false;      // what the current line has so far is the beginning of "end"
    uint16_t EndMatched = 0;       // characters of "end" matched on the current line
    bool EndSeen = false;          // all of them
    bool DeferredInvalid = false;  // a character of "end" is outside the alphabet, which counts if "end" does not
    bool Finished = false;
};

// BinHex.
struct BinHexState {
    // A header block has 22 bytes of fields and a name of up to 255.
    static constexpr uint32_t kFixedHeaderSize = 22;
    static constexpr uint32_t kHeaderCapacity = kFixedHeaderSize + 255;
    // Of the identification line this much is compared, the part that does not name a version, and at least one
    // character more is asked for.
    static constexpr size_t kIdentificationCompared = 40;

    uint8_t RunByte = 0;         // the byte of the open run
    uint16_t RunLength = 0;      // encoding; 0: no run is open
    bool NothingHeld = true;     // decoding: no run is open
    bool RunMarkerSeen = false;  // decoding: a count comes next

    uint16_t ForkCrc = 0;
    bool DataForkDone = false;
    uint64_t SourceCount = 0;  // encoding: bytes so far, of both forks

    // Decoding: the text.
    BYTE LineStart[kIdentificationCompared + 1];  // of the last line that was not empty
    uint32_t LineStartLength = 0;
    bool AtLineStart = true;
    bool DataFound = false;  // the ":" that opens the data
    bool ColonSeen = false;  // a ":" that closes it if a line break follows
    bool Finished = false;

    // Decoding: the forks.
    com::UniqueTaskBytes HeaderBlock;  // kHeaderCapacity bytes
    uint32_t HeaderBlockLength = kFixedHeaderSize;
    uint32_t HeaderReceived = 0;
    uint64_t ForkCount = 0;  // bytes of the current fork
    bool ResourceForkDone = false;
    bool CrcBytePending = false;
    uint16_t PendingCrc = 0;
};

// Quoted-printable.
struct QuotedPrintableState {
    static constexpr uint32_t kBlanksUnit = 1024;

    bool BreakRead = false;           // a line break is read and not yet written
    bool CarriageReturnSeen = false;  // a CR that may be the first half of a break

    // Encoding.
    bool LastNotBlank = true;   // the last byte written
    bool HasPending = false;    // PendingByte is to be written on the current line
    bool SoftBreakDue = false;  // PendingByte is to be written behind a soft line break
    uint8_t PendingByte = 0;
    uint32_t PendingWidth = 0;

    // Decoding.
    uint32_t EscapeLength = 0;  // characters read of an escape
    uint32_t EscapeValue = 0;
    bool SoftBreakCr = false;     // the CR of a soft line break was read: an LF belongs to it
    com::UniqueTaskBytes Blanks;  // whole units; held back until it shows whether they end their line
    uint32_t BlanksLength = 0;
    uint32_t BlanksCapacity = 0;
};

// The open conversion: what one call leaves for the next. Neutral while the session is Idle.
struct Working {
    LineState Lines;
    GroupState Group;
    UuXxState UuXx;
    BinHexState BinHex;
    QuotedPrintableState QuotedPrintable;

    Working() noexcept {}  // the bytes of lines need no value; all else has its neutral one
};

class EncodingSession : public Options, public HeaderValues {
public:
    EncodingSession() noexcept = default;
    EncodingSession(const EncodingSession&) = delete;
    EncodingSession& operator=(const EncodingSession&) = delete;

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

    // Held while a decoding replaces header values, so that the owner's readers see whole ones. May be null.
    com::CriticalSection* HeaderLock = nullptr;
    // The one way in which a decoding changes header values: runs `store(values)` under the lock.
    template <class Store>
    void StoreHeader(Store store) noexcept {
        const auto hold = HeaderLock ? std::unique_lock(*HeaderLock) : std::unique_lock<com::CriticalSection>();
        store(static_cast<HeaderValues&>(*this));
    }

    SessionState State = SessionState::Idle;
    Working Now;

private:
    HRESULT RunChunk(SessionState direction, const BYTE* source, uint32_t size, bool endOfData, BYTE** out,
                     DWORD* outSize) noexcept;
    HRESULT Open(SessionState direction) noexcept;
    HRESULT BeginEncoding() noexcept;
    HRESULT BeginDecoding() noexcept;
    void ClearHeaderValues() noexcept;
    HRESULT SetName(com::UniqueBstr& field, const BSTR name) noexcept;

    bool stepRun_ = false;  // since the conversion was opened
};

class Output;

struct StepInput {
    ByteSpan Source;
    bool EndOfData;
    bool StartOfSession;  // the first step of its session: headers are written now
};

// What a step sees of its session.
class Conversion {
public:
    explicit Conversion(EncodingSession& session) noexcept
        : Chosen(session), Header(session), Now(session.Now), session_(session) {}

    const Options& Chosen;
    const HeaderValues& Header;
    Working& Now;

    template <class Store>
    void StoreHeader(Store store) const noexcept {
        session_.StoreHeader(store);
    }

private:
    EncodingSession& session_;
};

// The format steps: one encode and one decode step a format, each a function of the conversion and the bytes of one
// call. A step owns no memory beyond its output, reads no globals and takes no lock. It returns S_OK or a warning with
// the output (empty for none), or an error; what it has allocated by then goes with the Output.
using Step = HRESULT (*)(const Conversion& conversion, const StepInput& input, Output& out);

// UU and XX, told apart by the session's Kind.
HRESULT UuXxEncode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT UuXxDecode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT Base64Encode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT Base64Decode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT HexaEncode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT HexaDecode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT QuotedPrintableEncode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT QuotedPrintableDecode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT BinHexEncode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;
HRESULT BinHexDecode(const Conversion& conversion, const StepInput& input, Output& out) noexcept;

// The exact sizes of what the encode steps write for such a call, and for `sourceSize` more bytes.
uint64_t UuXxEncodedSize(const Conversion& conversion, const StepInput& input) noexcept;
uint64_t Base64EncodedSize(const Conversion& conversion, uint64_t sourceSize, bool endOfData) noexcept;
uint64_t HexaEncodedSize(const Conversion& conversion, uint64_t sourceSize, bool endOfData) noexcept;

}  // namespace talvo
