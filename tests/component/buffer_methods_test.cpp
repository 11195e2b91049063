// The component: the format object it holds, and the buffer and text methods in their two forms.
#include <functional>
#include <memory>

#include "tests/component/component.h"
#include "tests/formats/client_processor.h"

namespace talvo::test {
namespace {

using NativeMethod = decltype(&ITalvoBinaryEncoding::Encode);
using DualMethod = decltype(&DTalvoBinaryEncoding::Encode);

const BYTE* Data(std::string_view text) { return reinterpret_cast<const BYTE*>(text.data()); }

// "code output / error information", through the native form.
std::string Native(const Component& component, NativeMethod method, std::string_view source, bool end) {
    LeaveStaleError();
    BYTE garbage;
    BYTE* block = &garbage;
    DWORD size = 0xCCCCCCCC;
    const HRESULT hr =
        (component.Native.Get()->*method)(Data(source), static_cast<DWORD>(source.size()), end, &block, &size);
    return Name(hr) + " " + TakeBlock(block, size) + " / " + TakeError();
}

// The same through the automation form; a boolean other than VARIANT_TRUE is true as well.
std::string Dual(const Component& component, DualMethod method, std::string_view source, bool end) {
    LeaveStaleError();
    Variant bytes = Variant::Bytes(source, 1);
    VARIANT result;
    std::memset(&result, 0xCC, sizeof(result));  // what it held is not released
    const HRESULT hr = (component.Dual.Get()->*method)(bytes.Get(), end ? VARIANT_BOOL{2} : VARIANT_FALSE, &result);
    EXPECT_EQ(V_ARRAY(bytes.Get())->cLocks, 0u);
    Variant taken;
    std::memcpy(taken.Get(), &result, sizeof(result));
    const std::string shown = taken.Show();
    return Name(hr) + " " + (shown == "(empty)" ? "" : shown.substr(6)) + " / " + TakeError();
}

const struct {
    const char* Name;
    bool Decode;
    const char* Source;
    bool End;
    HRESULT Code;
    const char* Bytes;
} kCalls[] = {
    {"encode", false, "ABC", true, S_OK, "QUJD"},
    {"nothing", false, "", false, S_OK, ""},
    {"open", false, "AB", false, S_OK, ""},
    {"other direction", true, "QUJD", true, berSessionOpened, ""},
    {"close", false, "", true, S_OK, "QUI="},
    {"decode", true, "QUJD", true, S_OK, "ABC"},
    {"warning", true, "QU?JD", true, berWarningInvalidCharacterInData, "ABC"},
    {"error", true, "QUJDQ", true, berRemainingData, ""},
};

TEST(Component, EncodesAndDecodesThroughBothForms) {
    for (const bool dual : {false, true}) {
        const Component component;
        const auto format = component.UseBase64();
        for (const auto& row : kCalls) {
            SCOPED_TRACE(row.Name);
            format->put_ContinueOnInvalidData(row.Code == berWarningInvalidCharacterInData);
            // The automation form gives the output of a warning, and S_OK.
            const HRESULT code = dual && SUCCEEDED(row.Code) ? S_OK : row.Code;
            const std::string expected = Name(code) + " " + row.Bytes + " / " + ErrorOf(kProgId, code);
            EXPECT_EQ(
                dual ? Dual(component, row.Decode ? &DTalvoBinaryEncoding::Decode : &DTalvoBinaryEncoding::Encode,
                            row.Source, row.End)
                     : Native(component, row.Decode ? &ITalvoBinaryEncoding::Decode : &ITalvoBinaryEncoding::Encode,
                              row.Source, row.End),
                expected);
        }
    }
}

TEST(Component, ANewOneHoldsAUuObject) {
    const Component component;
    const auto format = component.Format();
    ASSERT_TRUE(As<ITalvoUUEncodingFormat>(format));
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Encode, "x", true),
              "berEmptyFileNameInHeader  / " + ErrorOf(kProgId, berEmptyFileNameInHeader));
    com::ComPtr<IDispatch> dual;
    EXPECT_EQ(component.Dual->get_EncodingFormat(dual.Put()), S_OK);
    EXPECT_EQ(As<IUnknown>(dual).Get(), As<IUnknown>(format).Get());
}

TEST(Component, ReplacingTheFormat) {
    const Component component;
    const auto first = component.UseBase64();
    const auto stranger = ClientProcessor::New([](const char*, std::string_view, LONG) { return Reply{}; });
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Encode, "AB", false), "S_OK  / none");

    // A conversion stays with its object: put back, it goes on.
    const auto second = Create<IDispatch>(CLSID_TalvoBase64EncodingFormat);
    EXPECT_EQ(component.Dual->putref_EncodingFormat(second.Get()), S_OK);
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Decode, "QUJD", true), "S_OK ABC / none");
    EXPECT_EQ(component.Dual->putref_EncodingFormat(As<IDispatch>(first).Get()), S_OK);
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Encode, "C", true), "S_OK QUJD / none");

    EXPECT_EQ(Name(component.Dual->putref_EncodingFormat(stranger.Get())), "E_INVALIDARG");
    EXPECT_EQ(TakeError(), ErrorOf(kProgId, E_INVALIDARG));
    EXPECT_EQ(As<IUnknown>(component.Format()).Get(), As<IUnknown>(first).Get());
    EXPECT_EQ(component.Dual->putref_EncodingFormat(nullptr), S_OK);
    EXPECT_FALSE(component.Format());
}

TEST(Component, WithoutAFormat) {
    const Component component;
    LeaveStaleError();
    ASSERT_EQ(component.Native->putref_EncodingFormat(nullptr), S_OK);
    EXPECT_EQ(TakeError(), "none");
    const std::string refused = "berNoEncodingFormat  / " + ErrorOf(kProgId, berNoEncodingFormat);
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Encode, "x", true), refused);
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Decode, "x", true), refused);
    EXPECT_EQ(Dual(component, &DTalvoBinaryEncoding::Encode, "x", true), refused);
    EXPECT_EQ(Dual(component, &DTalvoBinaryEncoding::Decode, "x", true), refused);
    IDispatch* dual = reinterpret_cast<IDispatch*>(&dual);
    EXPECT_EQ(component.Dual->get_EncodingFormat(&dual), S_OK);
    EXPECT_EQ(dual, nullptr);
    EXPECT_FALSE(component.Format());
    EXPECT_EQ(Name(component.Native->Reset()), "S_OK");
    com::UniqueBstr text;
    EXPECT_EQ(Name(component.Native->ToString(Data("a"), 1, text.Put())), "S_OK");
}

TEST(Component, MissingOutPointers) {
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
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Decode, "QUJD", true), "S_OK ABC / none");  // nothing was opened
}

// Inputs that hold no bytes close a conversion like an empty buffer.
TEST(Component, AnInputWithoutBytesIsNoError) {
    const Component component;
    component.UseBase64();
    Variant empty;
    Variant object = Variant::Object(component.Dual.Get());
    for (VARIANT* const source : {empty.Get(), object.Get(), static_cast<VARIANT*>(nullptr)}) {
        Native(component, &ITalvoBinaryEncoding::Encode, "AB", false);
        Variant result;
        EXPECT_EQ(component.Dual->Encode(source, VARIANT_TRUE, result.Put()), S_OK);
        EXPECT_EQ(result.Show(), "bytes QUI=");
    }
    Variant number = Variant::Number(0x00434241);
    Variant result;
    EXPECT_EQ(component.Dual->Encode(number.Get(), VARIANT_TRUE, result.Put()), S_OK);
    EXPECT_EQ(result.Show(), "bytes QUJDAA==");
}

TEST(Component, Reset) {
    const Component component;
    const auto format = component.UseBase64();
    for (const bool dual : {false, true}) {
        Native(component, &ITalvoBinaryEncoding::Encode, "AB", false);
        LeaveStaleError();
        EXPECT_EQ(dual ? component.Dual->Reset() : component.Native->Reset(), S_OK);
        EXPECT_EQ(TakeError(), "none");
        EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Decode, "QUJD", true), "S_OK ABC / none");
    }
    // From inside a call of the format it is refused, and says so.
    std::string code;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view, LONG) {
        code = Name(component.Native->Reset());
        code += " / " + TakeError();
        return Reply{S_PASSTHROUGH};
    });
    format->putref_SubProcessing(processor->Data());
    EXPECT_EQ(Native(component, &ITalvoBinaryEncoding::Encode, "ABC", true), "S_OK QUJD / none");
    EXPECT_EQ(code, "berBusy / " + ErrorOf(kProgId, berBusy));
    format->putref_SubProcessing(nullptr);  // the component resets what it still holds when it goes
}

TEST(Component, ResetsItsFormatWhenItGoes) {
    auto component = std::make_unique<Component>();
    const auto format = component->UseBase64();
    Native(*component, &ITalvoBinaryEncoding::Encode, "AB", false);
    EXPECT_EQ(Name(format->put_MaxLineLength(8)), "berSessionOpened");
    component.reset();
    EXPECT_EQ(Name(format->put_MaxLineLength(8)), "S_OK");
}

TEST(Component, TextAndBytes) {
    using namespace std::string_literals;
    const Component component;
    for (const std::string& text : {"abc"s, ""s, "a\0b"s, std::string(100'000, 'x')}) {
        const WideText wide(text.begin(), text.end());
        const com::UniqueBstr string(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
        LeaveStaleError();
        BYTE* block = nullptr;
        DWORD size = 0;
        EXPECT_EQ(Name(component.Native->FromString(string.Get(), &block, &size)), "S_OK");
        EXPECT_EQ(TakeBlock(block, size), text);
        EXPECT_EQ(TakeError(), "none");
        Variant bytes;
        EXPECT_EQ(Name(component.Dual->FromString(string.Get(), bytes.Put())), "S_OK");
        EXPECT_EQ(bytes.Show(), text.empty() ? "(empty)" : "bytes " + text);

        com::UniqueBstr back;
        EXPECT_EQ(Name(component.Native->ToString(Data(text), static_cast<DWORD>(text.size()), back.Put())), "S_OK");
        EXPECT_EQ(WideText(back.Get() ? back.Get() : wide.data(), SysStringLen(back.Get())), wide);
        EXPECT_EQ(back.Get() == nullptr, text.empty());
        EXPECT_EQ(Name(component.Dual->ToString(bytes.Get(), back.Put())), "S_OK");
        EXPECT_EQ(WideText(back.Get() ? back.Get() : wide.data(), SysStringLen(back.Get())), wide);
    }
    com::UniqueBstr text;
    EXPECT_EQ(component.Native->ToString(nullptr, 5, text.Put()), S_OK);
    EXPECT_FALSE(text);
    EXPECT_EQ(component.Dual->ToString(nullptr, text.Put()), S_OK);
    EXPECT_FALSE(text);
    // A string is read as its stored bytes.
    EXPECT_EQ(component.Dual->ToString(Variant::Text("ab").Get(), text.Put()), S_OK);
    EXPECT_EQ(Narrow({text.Get(), SysStringLen(text.Get())}), "a\0b\0"s);
}

TEST(Component, Identity) {
    const Component component;
    const IID table[] = {IID_IUnknown, IID_DTalvoBinaryEncoding, IID_IDispatch, IID_ITalvoBinaryEncoding,
                         IID_ISupportErrorInfo};
    const auto ask = [](IUnknown* object, REFIID iid) {
        com::ComPtr<IUnknown> found;
        EXPECT_EQ(object->QueryInterface(iid, found.PutVoid()), S_OK) << GuidText(iid);
        return found;
    };
    for (const IID& from : table) {
        for (const IID& to : table)
            EXPECT_EQ(ask(ask(component.Native.Get(), from).Get(), to).Get(), ask(component.Native.Get(), to).Get());
    }
    EXPECT_FALSE(As<ITalvoEncodeData>(component.Native));
    const auto support = As<ISupportErrorInfo>(component.Native);
    for (const IID& iid : table) {
        const bool supported = !IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_ISupportErrorInfo);
        EXPECT_EQ(support->InterfaceSupportsErrorInfo(iid), supported ? S_OK : S_FALSE) << GuidText(iid);
    }
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_ITalvoEncodeData), S_FALSE);
}

}  // namespace
}  // namespace talvo::test
