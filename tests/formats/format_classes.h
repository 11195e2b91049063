// The six format classes as rows and as types, for tests that go over all of them.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {

template <class DualInterface, class NativeInterface, const CLSID* ClassId>
struct FormatClass {
    using Dual = DualInterface;
    using Native = NativeInterface;
    static com::ComPtr<ITalvoEncodeData> New() { return Create<ITalvoEncodeData>(*ClassId); }
};

struct UU : FormatClass<DTalvoUUEncodingFormat, ITalvoUUEncodingFormat, &CLSID_TalvoUUEncodingFormat> {
    static constexpr const char* kName = "UU";
    static constexpr const char* kProgId = "Talvo.UUEncoding.1";
};
struct XX : FormatClass<DTalvoXXEncodingFormat, ITalvoXXEncodingFormat, &CLSID_TalvoXXEncodingFormat> {
    static constexpr const char* kName = "XX";
    static constexpr const char* kProgId = "Talvo.XXEncoding.1";
};
struct Base64 : FormatClass<DTalvoBase64EncodingFormat, ITalvoBase64EncodingFormat, &CLSID_TalvoBase64EncodingFormat> {
    static constexpr const char* kName = "Base64";
    static constexpr const char* kProgId = "Talvo.Base64Encoding.1";
};
struct Hexa : FormatClass<DTalvoHexaEncodingFormat, ITalvoHexaEncodingFormat, &CLSID_TalvoHexaEncodingFormat> {
    static constexpr const char* kName = "Hexa";
    static constexpr const char* kProgId = "Talvo.HexaEncoding.1";
};
struct BinHex : FormatClass<DTalvoBinHexEncodingFormat, ITalvoBinHexEncodingFormat, &CLSID_TalvoBinHexEncodingFormat> {
    static constexpr const char* kName = "BinHex";
    static constexpr const char* kProgId = "Talvo.BinHexEncoding.1";
};
struct QuotedPrintable : FormatClass<DTalvoQuotedPrintableEncodingFormat, ITalvoQuotedPrintableEncodingFormat,
                                     &CLSID_TalvoQuotedPrintableEncodingFormat> {
    static constexpr const char* kName = "QuotedPrintable";
    static constexpr const char* kProgId = "Talvo.QuotedPrintableEncoding.1";
};

template <class Format>
concept HasBeginLine = requires(typename Format::Native& native) {
    native.put_HeaderPermissions(bupUserRead);
};
template <class Format>
concept HasFileInformation = requires(typename Format::Native& native) {
    native.put_HeaderFlags(0);
};
template <class Format>
concept HasHeader = HasBeginLine<Format> || HasFileInformation<Format>;

// Calls visit.operator()<Format>() for each class.
template <class Visit>
void ForEachFormat(Visit visit) {
    const auto one = [&]<class Format>() {
        SCOPED_TRACE(Format::kName);
        visit.template operator()<Format>();
    };
    one.template operator()<UU>();
    one.template operator()<XX>();
    one.template operator()<Base64>();
    one.template operator()<Hexa>();
    one.template operator()<BinHex>();
    one.template operator()<QuotedPrintable>();
}

// Opens an encoding conversion that has seen no byte yet.
inline std::string OpenConversion(ITalvoEncodeData* format) {
    const com::UniqueBstr name = Bstr("a.txt");  // some formats do not open without one
    format->put_HeaderFilename(name.Get());
    return Process(format, "", false).Code;
}

}  // namespace talvo::test
