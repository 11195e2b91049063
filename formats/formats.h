// The six creatable format classes: a row each, and the property groups that each class is built from.
#pragma once

#include "formats/properties.h"

namespace talvo {

template <class DualInterface, class NativeInterface, FormatKind Kind, const CLSID* Class>
struct FormatRow {
    using Dual = DualInterface;
    using Native = NativeInterface;
    static constexpr FormatKind kKind = Kind;
    static const CLSID& ClassId() noexcept { return *Class; }
};

template <class Row>
using LinedFormat = UnsignedLineLength<FormatCore<Row>>;

// UU and XX: a "begin" line with file name and permissions.
template <class Row>
using BeginLineFormat = HeaderPermissions<
    HeaderLines<LinedFormat<Row>, &EncodingSession::HeaderFilename, &EncodingSession::SetHeaderFilename>>;

using UUFormat = BeginLineFormat<
    FormatRow<DTalvoUUEncodingFormat, ITalvoUUEncodingFormat, FormatKind::UU, &CLSID_TalvoUUEncodingFormat>>;
using XXFormat = BeginLineFormat<
    FormatRow<DTalvoXXEncodingFormat, ITalvoXXEncodingFormat, FormatKind::XX, &CLSID_TalvoXXEncodingFormat>>;
using Base64Format = UnusedFilename<LinedFormat<FormatRow<DTalvoBase64EncodingFormat, ITalvoBase64EncodingFormat,
                                                          FormatKind::Base64, &CLSID_TalvoBase64EncodingFormat>>>;
using HexaFormat = UnusedFilename<LinedFormat<
    FormatRow<DTalvoHexaEncodingFormat, ITalvoHexaEncodingFormat, FormatKind::Hexa, &CLSID_TalvoHexaEncodingFormat>>>;
using QuotedPrintableFormat =
    UnusedFilename<FormatCore<FormatRow<DTalvoQuotedPrintableEncodingFormat, ITalvoQuotedPrintableEncodingFormat,
                                        FormatKind::QuotedPrintable, &CLSID_TalvoQuotedPrintableEncodingFormat>>>;
using BinHexFormat =
    BinHexHeader<HeaderLines<LinedFormat<FormatRow<DTalvoBinHexEncodingFormat, ITalvoBinHexEncodingFormat,
                                                   FormatKind::BinHex, &CLSID_TalvoBinHexEncodingFormat>>,
                             &EncodingSession::BinHexHeaderFilename, &EncodingSession::SetBinHexHeaderFilename>>;

}  // namespace talvo
