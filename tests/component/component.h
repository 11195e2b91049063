// A component under test, in both its forms.
#pragma once

#include "tests/component/variants.h"

namespace talvo::test {

inline constexpr const char* kProgId = "Talvo.BinaryEncoding.1";

struct Component {
    com::ComPtr<ITalvoBinaryEncoding> Native = Create<ITalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
    com::ComPtr<DTalvoBinaryEncoding> Dual = As<DTalvoBinaryEncoding>(Native);

    com::ComPtr<ITalvoEncodeData> Format() const {
        com::ComPtr<ITalvoEncodeData> format;
        EXPECT_EQ(Name(Native->get_EncodingFormat(format.Put())), "S_OK");
        return format;
    }
    // Holds a Base64 object from now on.
    com::ComPtr<ITalvoBase64EncodingFormat> UseBase64() const {
        const auto format = Create<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat);
        EXPECT_EQ(Native->putref_EncodingFormat(format.Get()), S_OK);
        return As<ITalvoBase64EncodingFormat>(format);
    }
};

}  // namespace talvo::test
