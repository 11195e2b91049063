// One row per format. Every format object has the options set here under the same names, each on its own interface.
#include "cli/format_classes.h"

#include <algorithm>

#include "com/com_ptr.h"

namespace talvo {
namespace {

ETBEndOfLineType EndOfLineType(LineBreaks lineBreaks) {
    switch (lineBreaks) {
        case LineBreaks::CrLf:
            return bltCrLf;
        case LineBreaks::Lf:
            return bltLf;
        case LineBreaks::Cr:
            return bltCr;
        default:
            return bltNone;
    }
}

// Signed on one of the interfaces: the bits are what counts.
template <class Properties, class Length>
HRESULT PutLineLength(Properties* format, HRESULT (STDMETHODCALLTYPE Properties::*put)(Length), uint32_t length) {
    return (format->*put)(static_cast<Length>(length));
}

template <class Properties>
Refusal SetOptions(IUnknown* object, const Options& options) {
    com::ComPtr<Properties> format;
    if (const HRESULT hr = object->QueryInterface(__uuidof(Properties), format.PutVoid()); FAILED(hr)) return {hr};
    if (options.lineLength) {
        const HRESULT hr = PutLineLength(format.Get(), &Properties::put_MaxLineLength, *options.lineLength);
        if (FAILED(hr)) return {hr, "--line-length"};
    }
    if (options.lineBreaks) {
        const HRESULT hr = format->put_EndOfLineType(EndOfLineType(*options.lineBreaks));
        if (FAILED(hr)) return {hr, "--line-breaks"};
    }
    if (const HRESULT hr = format->put_ContinueOnInvalidData(options.tolerant); FAILED(hr)) return {hr, "--tolerant"};
    return {};
}

// clang-format off
const FormatClass kClasses[] = {
    {Format::UU, {OLESTR("Talvo.UUEncoding"), &CLSID_TalvoUUEncodingFormat}, &SetOptions<ITalvoUUEncodingFormat>},
    {Format::XX, {OLESTR("Talvo.XXEncoding"), &CLSID_TalvoXXEncodingFormat}, &SetOptions<ITalvoXXEncodingFormat>},
    {Format::Base64, {OLESTR("Talvo.Base64Encoding"), &CLSID_TalvoBase64EncodingFormat}, &SetOptions<ITalvoBase64EncodingFormat>},
    {Format::Hex, {OLESTR("Talvo.HexaEncoding"), &CLSID_TalvoHexaEncodingFormat}, &SetOptions<ITalvoHexaEncodingFormat>},
    {Format::BinHex, {OLESTR("Talvo.BinHexEncoding"), &CLSID_TalvoBinHexEncodingFormat}, &SetOptions<ITalvoBinHexEncodingFormat>},
    {Format::QuotedPrintable, {OLESTR("Talvo.QuotedPrintableEncoding"), &CLSID_TalvoQuotedPrintableEncodingFormat}, &SetOptions<ITalvoQuotedPrintableEncodingFormat>},
};
// clang-format on

}  // namespace

const ClassName kComponentClass = {OLESTR("Talvo.BinaryEncoding"), &CLSID_TalvoBinaryEncoding};

const FormatClass& ClassOf(Format format) { return *std::ranges::find(kClasses, format, &FormatClass::format); }

}  // namespace talvo
