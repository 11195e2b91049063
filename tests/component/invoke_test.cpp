// Arguments of late-bound calls, of every type that members have: how each is converted, which parameter takes it, and
// which one is at fault. Wine tells that less exactly, so rows that name one are not for it.
#include "tests/support/module/component.h"
#include "tests/support/wine.h"

namespace talvo::test {
namespace {

constexpr WORD kPut = DISPATCH_PROPERTYPUT, kPutRef = DISPATCH_PROPERTYPUTREF;
constexpr UINT kUntouched = 99, kAnyArgument = 100;

const Variant kMissing = Variant::Missing(), kNowhere = Variant::Ref(VT_VARIANT, nullptr);

TEST(Invoke, ValuesOfProperties) {
    SHORT narrow = 4;
    Variant text = Variant::Text("12");
    const Variant toText = Variant::Ref(VT_BSTR, &V_BSTR(text.Get())),
                  toVariable = Variant::Ref(VT_VARIANT, text.Get());
    const struct {
        DISPID member;
        Variant value;
        std::string outcome;  // the value as it comes back, or why it was refused
        bool refused = false;
        WORD flags = kPut;
        CLSID format = CLSID_TalvoBinHexEncodingFormat;
    } rows[] = {
        {1809, Variant::Ref(VT_I2, &narrow), "i4:4"},
        {1809, toText, "i4:12"},
        {1809, toVariable, "i4:12"},
        {1809, 5, "i4:5", false, kPut | kPutRef},
        {1809, Variant::Real(1e10), "DISP_E_OVERFLOW"},
        {1809, Variant::Text("red"), "DISP_E_TYPEMISMATCH", true},
        {1809, kNowhere, "DISP_E_TYPEMISMATCH", true},
        {1809, Variant::Ref(VT_I4, nullptr), "DISP_E_TYPEMISMATCH", true},
        {1809, kMissing, "DISP_E_PARAMNOTOPTIONAL", true},
        {1808, Variant::Text("-7"), "i2:-7"},
        {1808, 0x10000, "DISP_E_OVERFLOW"},
        {1806, Variant::Bytes("TEXT"), "bytes TEXT"},
        {1805, 7, "\"7\""},
        {1805, Variant(), "\"\""},
        {1803, Variant::Text("true"), "true"},
        {1803, 1, "true"},
        {1801, Variant::Of(VT_I2, bltLf), "i4:2"},
        {1800, Variant(static_cast<IDispatch*>(nullptr)), "no object", false, kPutRef},
        {1800, Variant(Create<IDispatch>(CLSID_TalvoHexaEncodingFormat).Get()), "object", false, kPutRef},
        {1800, 4, "DISP_E_TYPEMISMATCH", false, kPutRef},
        {1006, 0x1FF, "i4:511", false, kPut, CLSID_TalvoUUEncodingFormat},
        {1204, Variant::Truth(false), "false", false, kPut, CLSID_TalvoXXEncodingFormat},
        {1402, Variant::Bytes("12"), "DISP_E_TYPEMISMATCH", false, kPut, CLSID_TalvoBase64EncodingFormat},
        {1603, Variant(), "false", false, kPut, CLSID_TalvoHexaEncodingFormat},
    };
    for (const auto& row : rows) {
        if (row.refused && UnderWine()) continue;
        const auto format = Create<IDispatch>(row.format);
        const Outcome put = Invoke(format.Get(), row.member, row.flags, {{"value", row.value}}, {DISPID_PROPERTYPUT});
        const Outcome get = Invoke(format.Get(), row.member, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {}, {});
        EXPECT_EQ(put.Code == "S_OK" ? get.Result.Show() : put.Code, row.outcome) << row.member;
        if (row.refused) {
            EXPECT_EQ(put.BadArgument, 0u) << row.member;
        }
    }
}

TEST(Invoke, PlacesOfArguments) {
    const auto component = Create<IDispatch>(CLSID_TalvoBinaryEncoding);
    IDispatch* const c = component.Get();
    const Variant format(Create<IDispatch>(CLSID_TalvoBase64EncodingFormat).Get());
    ASSERT_EQ(Invoke(c, 200, kPutRef, {{"value", format}}, {DISPID_PROPERTYPUT}).Code, "S_OK");
    constexpr DISPID kEncode = 400, kProcessFile = 404, kReset = 405, kFromString = 407;
    const Variant abc = Variant::Text("abc"), bytes = Variant::Bytes("ABC"), yes = Variant::Truth(true);
    const struct {
        DISPID member;
        std::vector<Argument> arguments;
        std::vector<DISPID> names;
        std::string outcome;
        UINT wrong = kAnyArgument;  // counted from the last one
    } rows[] = {
        {kEncode, {bytes, yes}, {}, "bytes QUJD"},
        {kEncode, {{"end", yes}, {"source", bytes}}, {1, 0}, "bytes QUJD"},
        {kEncode, {bytes, {"end", Variant(1)}}, {1}, "bytes QUJD"},
        {kEncode, {bytes}, {}, "DISP_E_BADPARAMCOUNT"},
        {kEncode, {bytes, {"odd", yes}}, {9}, "DISP_E_PARAMNOTFOUND", 0},
        {kEncode, {bytes, {"value", yes}}, {DISPID_PROPERTYPUT}, "DISP_E_PARAMNOTFOUND", 0},
        {kEncode, {{"end", yes}, {"end", yes}}, {1, 1}, "DISP_E_PARAMNOTFOUND", 1},
        {kEncode, {yes, {"source", bytes}}, {0}, "DISP_E_BADPARAMCOUNT", kUntouched},
        {kEncode, {kNowhere, yes}, {}, "DISP_E_TYPEMISMATCH", 1},
        {kEncode, {bytes, kMissing}, {}, "DISP_E_PARAMNOTOPTIONAL", 0},
        {kReset, {bytes}, {}, "DISP_E_BADPARAMCOUNT", kUntouched},
        {kFromString, {Variant()}, {}, "empty"},
        {kProcessFile, {abc, Variant(0), abc, Variant(0), yes, abc, yes, abc}, {}, "DISP_E_TYPEMISMATCH", 5},
        {0x60000001, {}, {}, "DISP_E_MEMBERNOTFOUND"},  // inherited, and restricted
    };
    for (const auto& row : rows) {
        if (row.wrong != kAnyArgument && UnderWine()) continue;
        const Outcome outcome = Invoke(c, row.member, DISPATCH_METHOD, row.arguments, row.names);
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        EXPECT_EQ(outcome.Code == "S_OK" ? outcome.Result.Show() : outcome.Code, row.outcome);
        EXPECT_EQ(outcome.BadArgument, row.wrong == kAnyArgument ? outcome.BadArgument : row.wrong);
    }
}

TEST(Invoke, WhatIsGivenIncompletely) {
    const auto format = Create<IDispatch>(CLSID_TalvoBase64EncodingFormat);
    Variant value = 5;
    const auto put = [&](DISPPARAMS given) {
        return Name(format->Invoke(1402, IID_NULL, 0, kPut, &given, nullptr, nullptr, nullptr));
    };
    EXPECT_EQ(put({value.Get(), nullptr, 1, 0}), "DISP_E_PARAMNOTFOUND") << "the value of a property has its name";
    if (UnderWine()) return;  // which reads what is not there
    DISPID names[] = {DISPID_PROPERTYPUT, 1};
    EXPECT_EQ(put({nullptr, nullptr, 1, 0}), "E_INVALIDARG");
    EXPECT_EQ(put({value.Get(), nullptr, 1, 1}), "E_INVALIDARG");
    EXPECT_EQ(put({value.Get(), names, 1, 2}), "E_INVALIDARG");
}

}  // namespace
}  // namespace talvo::test
