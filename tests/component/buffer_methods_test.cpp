// The buffer and text methods in their two forms: what they take and refuse. How conversions go on and whom the component
// holds is played through by tests/formats/model_test.cpp.
#include <functional>

#include "tests/support/module/component.h"

namespace talvo::test {
namespace {

const BYTE* Data(std::string_view text) { return reinterpret_cast<const BYTE*>(text.data()); }

// A result is overwritten, not released; a boolean other than VARIANT_TRUE is true as well.
std::string Encoded(const Component& component, VARIANT* source) {
    VARIANT result;
    std::memset(&result, 0xCC, sizeof(result));
    LeaveStaleError();
    EXPECT_EQ(Name(component.Dual->Encode(source, VARIANT_BOOL{2}, &result)), "S_OK");
    EXPECT_EQ(TakeError(), "none");
    Variant taken;
    std::memcpy(taken.Get(), &result, sizeof(result));
    return taken.Show();
}

TEST(Component, ANewOneHoldsAUuObject) {
    const Component component;
    EXPECT_TRUE(As<ITalvoUUEncodingFormat>(component.Format()));
}

TEST(Component, WhatTheAutomationFormTakes) {
    const Component component;
    component.UseBase64();
    Variant bytes = Variant::Bytes("ABC", 1);
    EXPECT_EQ(Encoded(component, bytes.Get()), "bytes QUJD");
    EXPECT_EQ(V_ARRAY(bytes.Get())->cLocks, 0u);
    EXPECT_EQ(Encoded(component, Variant(0x00434241).Get()), "bytes QUJDAA==");
    // Inputs that hold no bytes close a conversion like an empty buffer.
    Variant empty;
    Variant object = Variant(component.Dual.Get());
    for (VARIANT* const source : {empty.Get(), object.Get(), static_cast<VARIANT*>(nullptr)}) {
        Variant none;
        component.Dual->Encode(Variant::Bytes("AB").Get(), VARIANT_FALSE, none.Put());
        EXPECT_EQ(none.Show(), "empty");
        EXPECT_EQ(Encoded(component, source), "bytes QUI=");
    }
}

TEST(Component, MissingPointers) {
    const Component component;
    component.UseBase64();
    BYTE* block = nullptr;
    DWORD size = 0;
    Variant source = Variant::Bytes("ABC");
    ITalvoBinaryEncoding& native = *component.Native.Get();
    DTalvoBinaryEncoding& dual = *component.Dual.Get();
    const std::function<HRESULT()> calls[] = {
        [&] { return native.Encode(Data("ABC"), 3, 0, nullptr, &size); },
        [&] { return native.Encode(Data("ABC"), 3, 0, &block, nullptr); },
        [&] { return native.Encode(nullptr, 3, 0, &block, &size); },
        [&] { return native.Decode(Data("ABC"), 3, 0, nullptr, &size); },
        [&] { return native.Decode(Data("ABC"), 3, 0, &block, nullptr); },
        [&] { return native.ToString(Data("ABC"), 3, nullptr); },
        [&] { return native.FromString(Bstr("a").Get(), nullptr, &size); },
        [&] { return native.FromString(Bstr("a").Get(), &block, nullptr); },
        [&] { return native.get_EncodingFormat(nullptr); },
        [&] { return dual.Encode(source.Get(), VARIANT_FALSE, nullptr); },
        [&] { return dual.Decode(source.Get(), VARIANT_FALSE, nullptr); },
        [&] { return dual.ToString(source.Get(), nullptr); },
        [&] { return dual.FromString(Bstr("a").Get(), nullptr); },
        [&] { return dual.get_EncodingFormat(nullptr); },
    };
    for (const auto& call : calls) {
        SCOPED_TRACE(&call - calls);
        EXPECT_EQ(Name(call()), "E_POINTER");
        EXPECT_EQ(TakeError(), ErrorOf(kProgId, E_POINTER));
    }
    EXPECT_EQ(Encoded(component, source.Get()), "bytes QUJD");  // nothing was opened
}

TEST(Component, TextAndBytes) {
    using namespace std::string_literals;
    const Component component;
    const auto expectText = [](com::UniqueBstr& found, const std::string& text) {
        EXPECT_EQ(found.Get() == nullptr, text.empty());
        EXPECT_EQ(Narrow(found), text);
    };
    com::UniqueBstr back;
    for (const std::string& text : {"abc"s, ""s, "a\0b"s, std::string(100'000, 'x')}) {
        const com::UniqueBstr string = Bstr(text);
        BYTE* block = nullptr;
        DWORD size = 0;
        EXPECT_EQ(Name(component.Native->FromString(string.Get(), &block, &size)), "S_OK");
        EXPECT_EQ(TakeBlock(block, size), text);
        Variant bytes;
        EXPECT_EQ(Name(component.Dual->FromString(string.Get(), bytes.Put())), "S_OK");
        EXPECT_EQ(bytes.Show(), text.empty() ? "empty" : "bytes " + text);
        EXPECT_EQ(Name(component.Native->ToString(Data(text), static_cast<DWORD>(text.size()), back.Put())), "S_OK");
        expectText(back, text);
        EXPECT_EQ(Name(component.Dual->ToString(bytes.Get(), back.Put())), "S_OK");
        expectText(back, text);
    }
    EXPECT_EQ(component.Native->ToString(nullptr, 5, back.Put()), S_OK);
    EXPECT_FALSE(back);
    EXPECT_EQ(component.Dual->ToString(nullptr, back.Put()), S_OK);
    EXPECT_FALSE(back);
    // A string is read as its stored bytes.
    EXPECT_EQ(component.Dual->ToString(Variant::Text("ab").Get(), back.Put()), S_OK);
    expectText(back, "a\0b\0"s);
}

TEST(Component, Interfaces) {
    const Component component;
    ExpectInterfaces(component.Native.Get(), {IID_DTalvoBinaryEncoding, IID_IDispatch, IID_ITalvoBinaryEncoding},
                     {IID_IUnknown, IID_ISupportErrorInfo}, {IID_ITalvoEncodeData, IID_IClassFactory});
}

}  // namespace
}  // namespace talvo::test
