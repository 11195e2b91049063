// The component and the format objects as a script host uses them: members by name, through the registered type library.
#include <cctype>

#include "tests/component/file_calls.h"
#include "tests/support/wine.h"

namespace talvo::test {
namespace {

const struct {
    const char* ProgId;
    DISPID First;
    std::vector<const char*> Members;  // numbered from First; null is a gap
} kNames[] = {
    {"Talvo.UUEncoding.1",
     1000,
     {"SubProcessing", "EndOfLineType", "MaxLineLength", "ContinueOnInvalidData", "IncludeHeaderFooter",
      "HeaderFilename", "HeaderPermissions"}},
    {"Talvo.XXEncoding.1",
     1200,
     {"SubProcessing", "EndOfLineType", "MaxLineLength", "ContinueOnInvalidData", "IncludeHeaderFooter",
      "HeaderFilename", "HeaderPermissions"}},
    {"Talvo.Base64Encoding.1", 1400, {"SubProcessing", "EndOfLineType", "MaxLineLength", "ContinueOnInvalidData"}},
    {"Talvo.HexaEncoding.1", 1600, {"SubProcessing", "EndOfLineType", "MaxLineLength", "ContinueOnInvalidData"}},
    {"Talvo.BinHexEncoding.1",
     1800,
     {"SubProcessing", "EndOfLineType", "MaxLineLength", "ContinueOnInvalidData", "IncludeHeaderFooter",
      "HeaderFilename", "HeaderType", "HeaderCreator", "HeaderFlags", "HeaderDataForkLength",
      "HeaderResourceForkLength"}},
    {"Talvo.QuotedPrintableEncoding.1",
     2000,
     {"SubProcessing", "EndOfLineType", "MaxLineLength", "ContinueOnInvalidData"}},
    {"Talvo.BinaryEncoding.1",
     400,
     {"Encode", "Decode", "ReadFile", "WriteFile", "ProcessFile", "Reset", "ToString", "FromString"}},
    {"Talvo.BinaryEncoding.1", 200, {"EncodingFormat"}},
    {"Talvo.BinaryEncoding.1", -552, {"AboutBox"}},
};

com::ComPtr<IDispatch> ByProgId(const char* progId) {
    CLSID clsid = {};
    EXPECT_EQ(Name(CLSIDFromProgID(Widen(progId).c_str(), &clsid)), "S_OK");
    return Create<IDispatch>(clsid);
}

DISPID Number(IDispatch* object, const char* member) {
    WideText text = Widen(member);
    LPOLESTR name = text.data();
    DISPID id = 0;
    const HRESULT hr = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    EXPECT_EQ(Name(hr), id == DISPID_UNKNOWN ? "DISP_E_UNKNOWNNAME" : "S_OK") << member;
    return id;
}

TEST(LateBound, MembersHaveTheirPublishedNumbers) {
    for (const auto& row : kNames) {
        const auto object = ByProgId(row.ProgId);
        ASSERT_TRUE(object) << row.ProgId;
        for (size_t i = 0; i < row.Members.size(); ++i)
            EXPECT_EQ(Number(object.Get(), row.Members[i]), row.First + static_cast<DISPID>(i)) << row.Members[i];
        std::string capitals = row.Members[0];
        for (char& c : capitals) c = static_cast<char>(std::toupper(c));
        EXPECT_EQ(Number(object.Get(), capitals.c_str()), row.First);
        EXPECT_EQ(Number(object.Get(), "Process"), DISPID_UNKNOWN);  // conversion is the component's business
        EXPECT_EQ(Number(object.Get(), "NoSuchMember"), DISPID_UNKNOWN);
    }
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

TEST(LateBound, PropertiesOfTheFormats) {
    // Put, and get again: the value as it comes back.
    const struct {
        const char* ProgId;
        const char* Member;
        Variant Put;
        const char* Get;
    } rows[] = {
        {"Talvo.UUEncoding.1", "HeaderFilename", Variant::Text("a b.txt"), "text a b.txt"},
        {"Talvo.UUEncoding.1", "HeaderPermissions", Variant::Number(0x1FF), "number 511"},
        {"Talvo.XXEncoding.1", "IncludeHeaderFooter", Variant::Bool(false), "false"},
        {"Talvo.Base64Encoding.1", "MaxLineLength", Variant::Text("64"), "number 64"},
        {"Talvo.Base64Encoding.1", "MaxLineLength", Variant::Bytes("12"), ""},
        {"Talvo.Base64Encoding.1", "EndOfLineType", Variant::Number(bltLf), "number 2"},
        {"Talvo.Base64Encoding.1", "ContinueOnInvalidData", Variant::Number(1), "true"},
        {"Talvo.HexaEncoding.1", "ContinueOnInvalidData", Variant::Bool(true), "true"},
        {"Talvo.BinHexEncoding.1", "HeaderType", Variant::Bytes("TEXT"), "bytes TEXT"},
        {"Talvo.BinHexEncoding.1", "HeaderCreator", Variant::Number(0x64636261), "bytes abcd"},
        {"Talvo.BinHexEncoding.1", "HeaderFlags", Variant::Number(-2), "short -2"},
        {"Talvo.BinHexEncoding.1", "HeaderFlags", Variant::Number(0x10000), ""},
        {"Talvo.BinHexEncoding.1", "HeaderDataForkLength", Variant::Number(-1), "number -1"},
        {"Talvo.QuotedPrintableEncoding.1", "MaxLineLength", Variant::Number(3), "number 4"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.ProgId << "." << row.Member);
        const auto object = ByProgId(row.ProgId);
        const Outcome put = Call(object.Get(), row.Member, DISPATCH_PROPERTYPUT, {row.Put});
        if (*row.Get == 0) {
            EXPECT_TRUE(put.Code == "DISP_E_TYPEMISMATCH" || put.Code == Name(DISP_E_OVERFLOW)) << put.Code;
            continue;
        }
        EXPECT_EQ(put.Code, "S_OK");
        EXPECT_EQ(Call(object.Get(), row.Member, DISPATCH_PROPERTYGET).Result.Show(), row.Get);
    }
}

TEST(LateBound, FailuresArriveAsExceptions) {
    const auto format = ByProgId("Talvo.UUEncoding.1");
    const Outcome put = Call(format.Get(), "EndOfLineType", DISPATCH_PROPERTYPUT, {Variant::Number(bltNone)});
    EXPECT_EQ(put.Code, "DISP_E_EXCEPTION");
    EXPECT_EQ(put.Scode, "berInvalidEndOfLineType");
    EXPECT_EQ(put.Exception, ErrorOf("Talvo.UUEncoding.1", berInvalidEndOfLineType));

    const auto component = ByProgId("Talvo.BinaryEncoding.1");
    const Outcome encode = CallMethod(component.Get(), "Encode", {Variant::Bytes("x"), Variant::Bool(true)});
    EXPECT_EQ(encode.Code, "DISP_E_EXCEPTION");
    EXPECT_EQ(encode.Scode, "berEmptyFileNameInHeader");
    EXPECT_EQ(encode.Exception, ErrorOf("Talvo.BinaryEncoding.1", berEmptyFileNameInHeader));
}

// The road of a script: create, configure, hand over, convert, convert back.
TEST(LateBound, AScriptChainsItsCalls) {
    const auto component = ByProgId("Talvo.BinaryEncoding.1");
    const auto format = ByProgId("Talvo.Base64Encoding.1");
    IDispatch* const c = component.Get();
    EXPECT_EQ(Call(c, "EncodingFormat", DISPATCH_PROPERTYPUTREF, {Variant::Object(format.Get())}).Code, "S_OK");
    const Variant held = Call(c, "EncodingFormat", DISPATCH_PROPERTYGET).Result;
    ASSERT_EQ(held.Show(), "object");
    EXPECT_EQ(As<IUnknown>(com::ComPtr<IDispatch>(V_DISPATCH(held.Get()))).Get(), As<IUnknown>(format).Get());
    EXPECT_EQ(Call(V_DISPATCH(held.Get()), "MaxLineLength", DISPATCH_PROPERTYPUT, {Variant::Number(8)}).Code, "S_OK");

    const Variant bytes = CallMethod(c, "FromString", {Variant::Text("ABCDEFGHI")}).Result;
    EXPECT_EQ(bytes.Show(), "bytes ABCDEFGHI");
    const Variant encoded = CallMethod(c, "Encode", {bytes, Variant::Bool(true)}).Result;
    EXPECT_EQ(encoded.Show(), "bytes QUJDREVG\r\nR0hJ");
    EXPECT_EQ(CallMethod(c, "ToString", {encoded}).Result.Show(), "text QUJDREVG\r\nR0hJ");
    // Named arguments, in an order of their own; an integer is a boolean too.
    const Variant decoded =
        CallMethod(c, "Decode", {{"bEndOfData", Variant::Number(1)}, {"vaEncoded", encoded}}).Result;
    EXPECT_EQ(decoded.Show(), "bytes ABCDEFGHI");
    const Variant mixed = CallMethod(c, "Encode", {Variant::Bytes("ABC"), {"bEndOfData", Variant::Bool(true)}}).Result;
    EXPECT_EQ(mixed.Show(), "bytes QUJD");
    EXPECT_EQ(CallMethod(c, "Reset").Code, "S_OK");
    EXPECT_EQ(CallMethod(c, "Encode", {Variant(), Variant::Bool(true)}).Result.Show(), "(empty)");
}

TEST(LateBound, WrongArgumentsArePointedOut) {
    if (UnderWine()) GTEST_SKIP() << "Wine names no argument, and ignores those of a method that takes none";
    const auto component = ByProgId("Talvo.BinaryEncoding.1");
    IDispatch* const c = component.Get();
    const Variant bytes = Variant::Bytes("ABC");
    EXPECT_EQ(CallMethod(c, "FromString", {Variant::Object(c)}).BadArgument, 0u);
    EXPECT_EQ(CallMethod(c, "Encode", {bytes, Variant::Text("perhaps")}).BadArgument, 0u);  // counted from the last
    const auto format = ByProgId("Talvo.Base64Encoding.1");
    EXPECT_EQ(Call(format.Get(), "MaxLineLength", DISPATCH_PROPERTYPUT, {bytes}).BadArgument, 0u);
    EXPECT_EQ(CallMethod(c, "Reset", {bytes}).Code, "DISP_E_BADPARAMCOUNT");
}

// A script's variable takes the count of bytes read; what it held before goes.
TEST_F(FileMethods, ByName) {
    const auto component = ByProgId("Talvo.BinaryEncoding.1");
    IDispatch* const c = component.Get();
    Call(c, "EncodingFormat", DISPATCH_PROPERTYPUTREF, {Variant::Object(ByProgId("Talvo.Base64Encoding.1").Get())});
    const Variant name = Variant::Text("text");
    const Variant yes = Variant::Bool(true);
    const Variant zero = Variant::Number(0);
    EXPECT_EQ(CallMethod(c, "WriteFile", {Variant::Bytes("ABC"), zero, yes, name, Variant::Bool(false)}).Result.Show(),
              "number 4");
    EXPECT_EQ(CallMethod(c, "WriteFile", {Variant::Bytes("ABC"), zero, yes, name, yes}).Result.Show(), "number 4");
    Variant read = Variant::Text("before");
    Variant reference;
    V_VT(reference.Get()) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(reference.Get()) = read.Get();
    const auto decode = Variant::Number(bfpDecode);
    const Variant copy = Variant::Text("bytes");
    EXPECT_EQ(CallMethod(c, "ProcessFile", {name, zero, zero, decode, yes, copy, Variant::Bool(false), reference})
                  .Result.Show(),
              "number 6");
    EXPECT_EQ(read.Show(), "number 8");
    EXPECT_EQ(
        CallMethod(c, "ReadFile", {copy, Variant::Number(1), Variant::Number(-1), zero, yes, reference}).Result.Show(),
        "bytes QkNBQkM=");
    EXPECT_EQ(read.Show(), "number 5");
    const Outcome none = CallMethod(c, "ReadFile", {Variant::Text("none"), zero, zero, zero, yes, reference});
    EXPECT_EQ(none.Scode + " " + none.Exception,
              "berFileNotFound " + ErrorOf("Talvo.BinaryEncoding.1", berFileNotFound));
    EXPECT_EQ(read.Show(), "number 0");
}

// A variable of the script is handed over by reference.
TEST(LateBound, ArgumentsByReference) {
    const auto component = ByProgId("Talvo.BinaryEncoding.1");
    Call(component.Get(), "EncodingFormat", DISPATCH_PROPERTYPUTREF,
         {Variant::Object(ByProgId("Talvo.Base64Encoding.1").Get())});
    Variant variable = Variant::Bytes("ABC");
    Variant flag = Variant::Bool(true);
    VARIANT references[2];
    V_VT(&references[0]) = VT_BOOL | VT_BYREF;
    V_BOOLREF(&references[0]) = &V_BOOL(flag.Get());
    V_VT(&references[1]) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&references[1]) = variable.Get();
    DISPPARAMS parameters = {references, nullptr, 2, 0};
    Variant result;
    EXPECT_EQ(Name(component->Invoke(400, IID_NULL, 0, DISPATCH_METHOD, &parameters, result.Put(), nullptr, nullptr)),
              "S_OK");
    EXPECT_EQ(result.Show(), "bytes QUJD");
    EXPECT_EQ(V_ARRAY(variable.Get())->cLocks, 0u);
}

TEST(LateBound, WrongCalls) {
    const auto component = ByProgId("Talvo.BinaryEncoding.1");
    IDispatch* const c = component.Get();
    const Variant bytes = Variant::Bytes("ABC");
    EXPECT_EQ(CallMethod(c, "Encode", {bytes, Variant::Bool(true), bytes, bytes}).Code, "DISP_E_BADPARAMCOUNT");
    EXPECT_EQ(CallMethod(c, "Encode", {{"vaNothing", bytes}}).Code, "DISP_E_UNKNOWNNAME");
    EXPECT_EQ(Invoke(c, 12345, DISPATCH_METHOD, {}, {}).Code, "DISP_E_MEMBERNOTFOUND");
    EXPECT_EQ(Invoke(c, 400, DISPATCH_PROPERTYGET, {}, {}).Code, "DISP_E_MEMBERNOTFOUND");
    EXPECT_EQ(Call(c, "EncodingFormat", DISPATCH_PROPERTYPUT, {Variant::Object(c)}).Code, "DISP_E_MEMBERNOTFOUND");
    EXPECT_EQ(CallMethod(c, "FromString", {Variant::Object(c)}).Code, "DISP_E_TYPEMISMATCH");
    EXPECT_EQ(CallMethod(c, "Encode", {bytes, Variant::Text("perhaps")}).Code, "DISP_E_TYPEMISMATCH");

    DISPPARAMS none = {};
    EXPECT_EQ(Name(c->Invoke(405, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr)),
              "DISP_E_UNKNOWNINTERFACE");
    WideText text = Widen("Reset");
    LPOLESTR name = text.data();
    DISPID id = 0;
    EXPECT_EQ(Name(c->GetIDsOfNames(IID_IUnknown, &name, 1, 0, &id)), "DISP_E_UNKNOWNINTERFACE");
}

}  // namespace
}  // namespace talvo::test
