// The component and the format objects as a script host uses them: members by name, through the registered type library.
#include "tests/support/module/file_calls.h"

namespace talvo::test {
namespace {

com::ComPtr<IDispatch> ByProgId(const char* progId) {
    CLSID clsid = {};
    EXPECT_EQ(Name(CLSIDFromProgID(Widen(progId).c_str(), &clsid)), "S_OK");
    return Create<IDispatch>(clsid);
}
com::ComPtr<IDispatch> WithBase64() {
    const auto component = ByProgId(kProgId);
    Call(component.Get(), "EncodingFormat", DISPATCH_PROPERTYPUTREF,
         {Variant(ByProgId("Talvo.Base64Encoding.1").Get())});
    return component;
}

DISPID Number(IDispatch* object, const char* member) {
    WideText text = Widen(member);
    LPOLESTR name = text.data();
    DISPID id = 0;
    const HRESULT hr = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    EXPECT_EQ(Name(hr), id == DISPID_UNKNOWN ? "DISP_E_UNKNOWNNAME" : "S_OK") << member;
    return id;
}

// Every class serves its own interface; sdk/TalvoBinaryEncoding.typelib.txt has all members of all interfaces.
TEST(LateBound, EveryClassServesItsOwnMembers) {
    const struct {
        const char* ProgId;
        const char* Member;
        DISPID Id;
    } rows[] = {
        {"Talvo.UUEncoding.1", "HEADERPERMISSIONS", 1006},
        {"Talvo.XXEncoding.1", "HeaderPermissions", 1206},
        {"Talvo.Base64Encoding.1", "MaxLineLength", 1402},
        {"Talvo.HexaEncoding.1", "MaxLineLength", 1602},
        {"Talvo.BinHexEncoding.1", "HeaderResourceForkLength", 1810},
        {"Talvo.QuotedPrintableEncoding.1", "MaxLineLength", 2002},
        {kProgId, "FromString", 407},
        {kProgId, "EncodingFormat", 200},
        {kProgId, "AboutBox", -552},
        {kProgId, "Process", DISPID_UNKNOWN},  // conversion by pieces is not for scripts
        {"Talvo.UUEncoding.1", "Process", DISPID_UNKNOWN},
    };
    for (const auto& row : rows) EXPECT_EQ(Number(ByProgId(row.ProgId).Get(), row.Member), row.Id) << row.Member;
}

TEST(LateBound, TypeInformation) {
    const auto object = ByProgId("Talvo.Base64Encoding.1");
    UINT count = 0;
    com::ComPtr<ITypeInfo> info;
    EXPECT_EQ(object->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(Name(object->GetTypeInfoCount(nullptr)), "E_POINTER");
    EXPECT_EQ(Name(object->GetTypeInfo(1, 0, info.Put())), "DISP_E_BADINDEX");
    EXPECT_EQ(Name(object->GetTypeInfo(0, 0, nullptr)), "E_POINTER");
    ASSERT_EQ(object->GetTypeInfo(0, 0, info.Put()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(GuidText(attributes->guid), GuidText(IID_DTalvoBase64EncodingFormat));
    info->ReleaseTypeAttr(attributes);
}

TEST(LateBound, FailuresArriveAsExceptions) {
    const auto format = ByProgId("Talvo.UUEncoding.1");
    const Outcome put = Call(format.Get(), "EndOfLineType", DISPATCH_PROPERTYPUT, {Variant(bltNone)});
    EXPECT_EQ(put.Code + " " + put.Scode, "DISP_E_EXCEPTION berInvalidEndOfLineType");
    EXPECT_EQ(put.Exception, ErrorOf("Talvo.UUEncoding.1", berInvalidEndOfLineType));
    const Outcome encode = CallMethod(ByProgId(kProgId).Get(), "Encode", {Variant::Bytes("x"), Variant::Truth(true)});
    EXPECT_EQ(encode.Code + " " + encode.Scode, "DISP_E_EXCEPTION berEmptyFileNameInHeader");
    EXPECT_EQ(encode.Exception, ErrorOf(kProgId, berEmptyFileNameInHeader));
}

// The road of a script: create, configure, hand over, convert, convert back.
TEST(LateBound, AScriptChainsItsCalls) {
    const auto component = WithBase64();
    IDispatch* const c = component.Get();
    const Variant held = Call(c, "EncodingFormat", DISPATCH_PROPERTYGET).Result;
    ASSERT_EQ(held.Show(), "object");
    EXPECT_EQ(Call(V_DISPATCH(held.Get()), "MaxLineLength", DISPATCH_PROPERTYPUT, {Variant(8)}).Code, "S_OK");

    const Variant bytes = CallMethod(c, "FromString", {Variant::Text("ABCDEFGHI")}).Result;
    const Variant encoded = CallMethod(c, "Encode", {bytes, Variant::Truth(true)}).Result;
    EXPECT_EQ(CallMethod(c, "ToString", {encoded}).Result.Show(), "\"QUJDREVG\r\nR0hJ\"");
    // Named arguments, in an order of their own; an integer is a boolean too.
    const Variant decoded = CallMethod(c, "Decode", {{"bEndOfData", Variant(1)}, {"vaEncoded", encoded}}).Result;
    EXPECT_EQ(decoded.Show(), "bytes ABCDEFGHI");
    const Variant mixed = CallMethod(c, "Encode", {Variant::Bytes("ABC"), {"bEndOfData", Variant::Truth(true)}}).Result;
    EXPECT_EQ(mixed.Show(), "bytes QUJD");
    EXPECT_EQ(CallMethod(c, "Reset").Code, "S_OK");
}

// A script's variable takes the count of bytes read; what it held before goes.
TEST_F(FileMethods, ByName) {
    const auto component = WithBase64();
    IDispatch* const c = component.Get();
    const Variant name = Variant::Text("text");
    const Variant copy = Variant::Text("bytes");
    const Variant yes = Variant::Truth(true);
    const Variant no = Variant::Truth(false);
    const Variant zero = Variant(0);
    const Variant decode = Variant(bfpDecode);
    Variant read = Variant::Text("before");
    Variant reference;
    V_VT(reference.Get()) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(reference.Get()) = read.Get();
    const auto told = [&](const char* method, const std::vector<Argument>& arguments) {
        const Outcome outcome = CallMethod(c, method, arguments);
        return outcome.Scode + outcome.Exception + outcome.Result.Show() + ", " + read.Show();
    };
    EXPECT_EQ(told("WriteFile", {Variant::Bytes("ABC"), zero, yes, name, no}), "i4:4, \"before\"");
    EXPECT_EQ(told("WriteFile", {Variant::Bytes("ABC"), zero, yes, name, yes}), "i4:4, \"before\"");
    EXPECT_EQ(told("ProcessFile", {name, zero, zero, decode, yes, copy, no, reference}), "i4:6, i4:8");
    EXPECT_EQ(told("ReadFile", {copy, Variant(1), Variant(-1), zero, yes, reference}), "bytes QkNBQkM=, i4:5");
    EXPECT_EQ(told("ReadFile", {Variant::Text("none"), zero, zero, zero, yes, reference}),
              "berFileNotFound" + ErrorOf(kProgId, berFileNotFound) + "empty, i4:0");
}

TEST(LateBound, WrongCalls) {
    const auto component = ByProgId(kProgId);
    IDispatch* const c = component.Get();
    const Variant object = Variant(c);
    EXPECT_EQ(Invoke(c, 12345, DISPATCH_METHOD, {}, {}).Code, "DISP_E_MEMBERNOTFOUND");
    EXPECT_EQ(Call(c, "EncodingFormat", DISPATCH_PROPERTYPUT, {object}).Code, "DISP_E_MEMBERNOTFOUND");
    EXPECT_EQ(CallMethod(c, "FromString", {object}).Code, "DISP_E_TYPEMISMATCH");
    DISPPARAMS none = {};
    EXPECT_EQ(Name(c->Invoke(405, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr)),
              "DISP_E_UNKNOWNINTERFACE");
    EXPECT_EQ(Name(c->GetIDsOfNames(IID_IUnknown, nullptr, 0, 0, nullptr)), "DISP_E_UNKNOWNINTERFACE");
}

}  // namespace
}  // namespace talvo::test
