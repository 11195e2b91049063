// Fuzz target: any bytes, encoded with any options in one call and in pieces, give one text, and decode back to
// themselves and to the header that was set.
#include "fuzz/conversion.h"

namespace talvo::fuzz {
namespace {

bool SetHeader(EncodingSession& session, size_t size, const Options& options) noexcept {
    const com::UniqueBstr name(SysAllocString(OLESTR("a name.bin")));
    session.HeaderPermissions = static_cast<uint16_t>(options.Cuts * 2);
    const BYTE fields[] = {'T', 'E', 0x90, 0x90, 0, 'a', ':', 0xFF};
    std::copy(fields, fields + 4, session.HeaderType);
    std::copy(fields + 4, fields + 8, session.HeaderCreator);
    session.HeaderFlags = 0x9000;
    session.HeaderDataForkLength = static_cast<uint32_t>(size * (options.Cuts % 4) / 3);
    session.HeaderResourceForkLength = static_cast<uint32_t>(size) - session.HeaderDataForkLength;
    return session.SetHeaderFilename(name.Get()) == S_OK && session.SetBinHexHeaderFilename(name.Get()) == S_OK;
}

void Run(const BYTE* data, size_t size) noexcept {
    const Options options = ReadOptions(data);
    const std::string_view bytes(reinterpret_cast<const char*>(data) + kOptionBytes, size - kOptionBytes);
    EncodingSession atOnce, inPieces, back;
    if (!Prepare(atOnce, options) || !Prepare(inPieces, options) || !Prepare(back, options)) return;
    if (!SetHeader(atOnce, bytes.size(), options) || !SetHeader(inPieces, bytes.size(), options)) return;

    const Result text = Convert(atOnce, Direction::Encode, bytes, 0);
    Demand(text.Code == S_OK, "any bytes encode", text.Code);
    const Result pieces = Convert(inPieces, Direction::Encode, bytes, options.Cuts | 1);
    Demand(text.Bytes == pieces.Bytes && pieces.Code == S_OK, "one text however the bytes are cut", pieces.Code);

    const Result decoded = Convert(back, Direction::Decode, text.Bytes, options.Cuts);
    Demand(decoded.Code == S_OK, "what is encoded decodes", decoded.Code);
    Demand(decoded.Bytes == bytes, "to the same bytes");
    if (!options.Header) return;
    if (kFormat == FormatKind::UU || kFormat == FormatKind::XX) {
        Demand(Equal(back.HeaderFilename, atOnce.HeaderFilename), "the name");
        Demand(back.HeaderPermissions == atOnce.HeaderPermissions, "the permissions");
    } else if (kFormat == FormatKind::BinHex) {
        back.HeaderPermissions = atOnce.HeaderPermissions;
        Demand(atOnce.SetHeaderFilename(nullptr) == S_OK && SameHeader(atOnce, back), "the header block");
    }
}

}  // namespace
}  // namespace talvo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size >= talvo::fuzz::kOptionBytes) talvo::fuzz::Run(data, size);
    return 0;
}
