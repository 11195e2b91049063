// A component under test, in both its forms.
#pragma once

#include "tests/support/allocation_faults.h"
#include "tests/support/module/late_bound.h"

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

// The automation form takes VARIANTs.
enum class Form { Native, Dual };
constexpr Form kForms[] = {Form::Native, Form::Dual};

// A conversion through the component. What is to fail fails within the call only.
inline Converted Convert(const Component& component, Form form, bool decode, std::string_view bytes, bool end) {
    BYTE* block = nullptr;
    DWORD size = 0;
    Variant source = Variant::Bytes(bytes);
    Variant result;
    const auto native = decode ? &ITalvoBinaryEncoding::Decode : &ITalvoBinaryEncoding::Encode;
    const auto dual = decode ? &DTalvoBinaryEncoding::Decode : &DTalvoBinaryEncoding::Encode;
    HRESULT hr = S_OK;
    {
        const FaultsHere here;
        hr = form == Form::Native
                 ? (component.Native.Get()->*native)(reinterpret_cast<const BYTE*>(bytes.data()),
                                                     static_cast<DWORD>(bytes.size()), end, &block, &size)
                 : (component.Dual.Get()->*dual)(source.Get(), end ? VARIANT_TRUE : VARIANT_FALSE, result.Put());
    }
    EXPECT_EQ(V_ARRAY(source.Get())->cLocks, 0u);
    const std::string shown = result.Show();
    return {Name(hr), shown == "empty" ? TakeBlock(block, size) : shown.substr(6)};
}

}  // namespace talvo::test
