// Every property of every class on both of its interfaces: defaults, values kept, refusals, error information; and
// the interfaces.
#include "tests/support/module/format_classes.h"
#include "tests/support/module/late_bound.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

constexpr int64_t kMaxUnsigned = 0xFFFFFFFF;

// Readings on the native and on the automation interface.
struct Reading {
    int64_t Native;
    int64_t Dual;
};
const std::map<std::string, Reading> kDefaults = {
    {"EndOfLineType", {1, 1}},         {"MaxLineLength", {0, 0}},
    {"ContinueOnInvalidData", {0, 0}}, {"IncludeHeaderFooter", {1, -1}},
    {"HeaderPermissions", {292, 292}}, {"HeaderFlags", {0, 0}},
    {"HeaderDataForkLength", {0, 0}},  {"HeaderResourceForkLength", {0, 0}},
};

const struct {
    const char* Property;
    const char* Classes;  // "" for every class that has it
    int64_t Put;          // through either interface
    HRESULT Code;
    Reading Expected;
} kValues[] = {
    {"EndOfLineType", "UU XX", bltNone, berInvalidEndOfLineType, {1, 1}},
    {"EndOfLineType", "Base64 Hexa BinHex QuotedPrintable", bltNone, S_OK, {0, 0}},
    {"EndOfLineType", "", bltCr, S_OK, {3, 3}},
    {"EndOfLineType", "", 4, berInvalidEndOfLineType, {1, 1}},
    {"EndOfLineType", "", -1, berInvalidEndOfLineType, {1, 1}},
    {"MaxLineLength", "UU XX BinHex", 3, S_OK, {5, 5}},
    {"MaxLineLength", "Base64 QuotedPrintable", 3, S_OK, {4, 4}},
    {"MaxLineLength", "Hexa", 3, S_OK, {3, 3}},
    {"MaxLineLength", "Hexa", 1, S_OK, {2, 2}},
    {"MaxLineLength", "UU XX", 86, S_OK, {85, 85}},
    {"MaxLineLength", "UU XX", -1, S_OK, {85, 85}},
    {"MaxLineLength", "Base64 Hexa BinHex QuotedPrintable", 100, S_OK, {100, 100}},
    {"MaxLineLength", "Base64 Hexa BinHex", -1, S_OK, {kMaxUnsigned, -1}},
    {"MaxLineLength", "QuotedPrintable", -1, S_OK, {-1, -1}},
    {"MaxLineLength", "", 0, S_OK, {0, 0}},
    {"ContinueOnInvalidData", "", 7, S_OK, {1, -1}},
    {"ContinueOnInvalidData", "", -1, S_OK, {1, -1}},
    {"IncludeHeaderFooter", "", 0, S_OK, {0, 0}},
    {"IncludeHeaderFooter", "", 2, S_OK, {1, -1}},
    {"HeaderPermissions", "", 0x1FF, S_OK, {0x1FF, 0x1FF}},
    {"HeaderPermissions", "", 0x10000, S_OK, {0, 0}},
    {"HeaderPermissions", "", -1, S_OK, {0xFFFF, 0xFFFF}},
    {"HeaderFlags", "", 0x8001, S_OK, {0x8001, -0x7FFF}},
    {"HeaderDataForkLength", "", -2, S_OK, {kMaxUnsigned - 1, -2}},
    {"HeaderResourceForkLength", "", 0x80000000, S_OK, {0x80000000, -0x80000000LL}},
};

void ExpectReading(const Property& property, const Reading& expected) {
    EXPECT_EQ(property.Native.Value(), expected.Native);
    EXPECT_EQ(property.Dual.Value(), expected.Dual);
}

// What a call must answer and leave behind; without a class, nothing but the code is told.
void Expect(const char* progId, HRESULT expected, const std::function<HRESULT()>& call) {
    LeaveStaleError();
    EXPECT_EQ(Name(call()), Name(expected));
    EXPECT_EQ(TakeError(), progId ? ErrorOf(progId, expected) : "stale");
}

TEST(Properties, DefaultsAndNullPointers) {
    ForEachFormat([](const FormatObject& format) {
        EXPECT_EQ(format.Numbers.size(), format.BeginLine ? 5u : format.FileInformation ? 7u : 3u);
        EXPECT_EQ(FilenameOf(format.Data.Get()), "");
        ITalvoEncodeData& data = *format.Data.Get();
        DWORD size = 0;
        BYTE* block = nullptr;
        LONG detects = 0;
        for (const HRESULT hr :
             {data.Process(nullptr, 0, 0, 0, 0, nullptr, &size), data.Process(nullptr, 0, 1, 0, 0, &block, nullptr),
              data.Process(nullptr, 5, 1, 0, 0, &block, &size), data.Revert(nullptr, 5, 1, &block, &size, &size),
              data.Revert(nullptr, 0, 1, nullptr, &size, &size), data.Revert(nullptr, 0, 1, &block, nullptr, &size),
              data.Revert(nullptr, 0, 1, &block, &size, nullptr), data.get_CanDetectEndOfData(nullptr)})
            EXPECT_EQ(Name(hr), "E_POINTER");
        EXPECT_EQ(Name(data.get_CanDetectEndOfData(&detects)), "berNoEncodingFormat");
        for (const auto& [name, property] : format.Numbers) {
            SCOPED_TRACE(name);
            ExpectReading(property, kDefaults.at(name));
            for (const Side* side : {&property.Native, &property.Dual}) {
                Expect(format.ProgId, E_POINTER, side->GetNull);
                int64_t value = 0;
                Expect(format.ProgId, S_OK, [&] { return side->Get(&value); });
            }
        }
    });
}

TEST(Properties, ValuesReadBackOnBothInterfacesWhicheverTookThem) {
    for (const auto& row : kValues) {
        for (Side Property::*side : {&Property::Native, &Property::Dual}) {
            ForEachFormat([&](const FormatObject& format) {
                const auto found = format.Numbers.find(row.Property);
                const std::string classes = " " + std::string(row.Classes) + " ";
                const bool meant = !*row.Classes || classes.find(" " + std::string(format.Class) + " ") != classes.npos;
                if (found == format.Numbers.end() || !meant) return;
                SCOPED_TRACE(testing::Message() << row.Property << " = " << row.Put);
                Expect(format.ProgId, row.Code, [&] { return (found->second.*side).Put(row.Put); });
                ExpectReading(found->second, row.Expected);
            });
        }
    }
    // A boolean has 32 bits on the native interface and 16 on the other: what lies above does not count there.
    const FormatObject format = New(kBase64);
    const Property& tolerant = format.Number("ContinueOnInvalidData");
    EXPECT_EQ(tolerant.Native.Put(0x10000), S_OK);
    ExpectReading(tolerant, {1, -1});
    EXPECT_EQ(tolerant.Dual.Put(0x10000), S_OK);
    ExpectReading(tolerant, {0, 0});
}

// A name is a counted string: a zero character in it is kept. One pair of accessors serves all three interfaces.
TEST(Properties, HeaderFilename) {
    ForEachFormat([](const FormatObject& format) {
        const WideText name = {'a', 0, 0xE9, 0x4E2D};
        const com::UniqueBstr put(SysAllocStringLen(name.data(), 4));
        com::UniqueBstr read;
        const char* const reporter = format.Header() ? format.ProgId : nullptr;
        Expect(reporter, E_POINTER, [&] { return format.Data->get_HeaderFilename(nullptr); });
        Expect(reporter, S_OK, [&] { return format.Data->put_HeaderFilename(put.Get()); });
        Expect(reporter, S_OK, [&] { return format.Data->get_HeaderFilename(read.Put()); });
        EXPECT_EQ(WideText(read.Get(), SysStringLen(read.Get())), name);
        EXPECT_NE(read.Get(), put.Get());
        if (format.Header()) {
            const auto dual = As<IDispatch>(format.Data);
            EXPECT_EQ(Call(dual.Get(), "HeaderFilename", DISPATCH_PROPERTYPUT, {Variant::Text("b")}).Code, "S_OK");
            EXPECT_EQ(FilenameOf(format.Data.Get()), "b");
            EXPECT_EQ(Call(dual.Get(), "HeaderFilename", DISPATCH_PROPERTYGET).Result.Show(), "\"b\"");
        }
        EXPECT_EQ(format.Data->put_HeaderFilename(nullptr), S_OK);
        EXPECT_EQ(FilenameOf(format.Data.Get()), "");
    });
}

// What the header of a text will supply is cleared when its decoding opens, and nothing else is. What a decoded text
// says about its file is read as properties, and written back by the next encoding.
TEST(Properties, HeadersOfTexts) {
    ForEachFormat([](const FormatObject& format) {
        ITalvoEncodeData* const data = format.Data.Get();
        const auto values = [&] {
            std::string all = FilenameOf(data);
            for (const auto& [name, property] : format.Numbers) all += " " + std::to_string(property.Native.Value());
            return all;
        };
        for (const bool header : {false, true}) {
            for (const auto& [name, property] : format.Numbers)
                property.Native.Put(name == "IncludeHeaderFooter" ? header : 3);
            data->put_HeaderFilename(Bstr("set.bin").Get());
            const std::string before = values();
            EXPECT_EQ(Revert(data, "", false).Code, "S_OK");
            const bool cleared = format.FileInformation || (format.BeginLine && header);  // in the order of the names
            EXPECT_EQ(values(), !cleared           ? before
                                : format.BeginLine ? " 1 3 0 1 5"
                                : header           ? " 1 3 0 0 0 1 5"
                                                   : " 1 3 0 0 0 0 5");
            EXPECT_EQ(Name(data->Reset()), "S_OK");
        }
        if (!format.BeginLine) return;
        EXPECT_EQ(Revert(data, "begin 644 a.txt\n", false).Code, "S_OK");
        EXPECT_EQ(Revert(data, "+", true).Code, "S_OK");
        EXPECT_EQ(values(), "a.txt 1 3 420 1 5");
        EXPECT_EQ(Process(data, "", true).Bytes.substr(0, 17), "begin 0644 a.txt\r");
        EXPECT_EQ(Revert(data, "no header", true).Bytes, "");
        EXPECT_EQ(Process(data, "", true).Code, "berEmptyFileNameInHeader");
    });
}

// The file information goes into a text and comes out of it; while it is not read yet, there is none.
TEST(Properties, FileInformationTravelsInABinHexText) {
    const WCHAR name[] = {'r', 0xE9, 's', '.', 't', 'x', 't'};
    const FormatObject format = New(kBinHex);
    ITalvoEncodeData* const data = format.Data.Get();
    const auto dual = As<DTalvoBinHexEncodingFormat>(format.Data);
    const auto values = [&] {
        Variant type, creator;
        dual->get_HeaderType(type.Put());
        dual->get_HeaderCreator(creator.Put());
        std::string all = FilenameOf(data) + type.Show() + creator.Show();
        for (const char* const number : {"HeaderFlags", "HeaderDataForkLength", "HeaderResourceForkLength"})
            all += " " + std::to_string(format.Number(number).Native.Value());
        return all;
    };
    ASSERT_EQ(data->put_HeaderFilename(com::UniqueBstr(SysAllocStringLen(name, 7)).Get()), S_OK);
    ASSERT_EQ(dual->put_HeaderType(*Variant::Bytes("APPL").Get()), S_OK);
    ASSERT_EQ(dual->put_HeaderCreator(*Variant::Bytes("CARO").Get()), S_OK);
    ASSERT_EQ(format.Number("HeaderFlags").Dual.Put(-0x7EFF), S_OK);
    ASSERT_EQ(format.Number("HeaderDataForkLength").Dual.Put(4), S_OK);
    ASSERT_EQ(format.Number("HeaderResourceForkLength").Dual.Put(6), S_OK);
    const std::string text = Process(data, "datares\x90\x90\x90", true).Bytes;
    // The object that has written reads: nothing of what was set remains.
    EXPECT_EQ(Revert(data, text.substr(0, 75), false).Code, "S_OK");
    EXPECT_EQ(values(), "bytes \0\0\0\0bytes \0\0\0\0 0 0 0"s);
    EXPECT_EQ(Revert(data, text.substr(75), false).Bytes, "datares\x90\x90\x90");
    EXPECT_EQ(values(), "r?s.txtbytes APPLbytes CARO 33025 4 6");
    EXPECT_EQ(Name(data->Reset()), "S_OK");
    EXPECT_EQ(values(), "r?s.txtbytes APPLbytes CARO 33025 4 6");
}

// --- HeaderType and HeaderCreator

template <class GetNative, class PutNative>
void CheckFourBytes(const char* member, GetNative get, PutNative put) {
    const FormatObject format = NewNamed(kBinHex);
    const auto native = As<ITalvoBinHexEncodingFormat>(format.Data);
    const auto dual = As<IDispatch>(format.Data);
    const auto stored = [&] {
        BYTE* block = nullptr;
        EXPECT_EQ((native.Get()->*get)(&block), S_OK);
        const std::string bytes = TakeBlock(block, 4);
        EXPECT_EQ(Call(dual.Get(), member, DISPATCH_PROPERTYGET).Result.Show(), "bytes " + bytes);
        return bytes;
    };
    const auto putDual = [&](const Variant& value) {
        return Call(dual.Get(), member, DISPATCH_PROPERTYPUT, {value}).Scode;
    };
    EXPECT_EQ(stored(), "\0\0\0\0"s);
    EXPECT_EQ((native.Get()->*put)(reinterpret_cast<const BYTE*>("abcdef")), S_OK);
    EXPECT_EQ(stored(), "abcd");
    const struct {
        Variant Value;
        std::string Stored;
    } forms[] = {{Variant(), "\0\0\0\0"s}, {Variant::Bytes("ABC"), "ABC\0"s}, {Variant::Bytes("ABCDEF"), "ABCD"s}};
    for (const auto& form : forms) {
        EXPECT_EQ(putDual(form.Value), "");
        EXPECT_EQ(stored(), form.Stored);
    }
    Expect(format.ProgId, E_POINTER, [&] { return (native.Get()->*get)(nullptr); });
    Expect(format.ProgId, E_POINTER, [&] { return (native.Get()->*put)(nullptr); });
    ASSERT_EQ(Process(format.Data.Get(), "", false).Code, "S_OK");
    Expect(format.ProgId, berSessionOpened,
           [&] { return (native.Get()->*put)(reinterpret_cast<const BYTE*>("wxyz")); });
    EXPECT_EQ(putDual(Variant::Bytes("wxyz")), "berSessionOpened");
    EXPECT_EQ(stored(), "ABCD");
}

TEST(Properties, HeaderTypeAndCreator) {
    using I = ITalvoBinHexEncodingFormat;
    CheckFourBytes("HeaderType", &I::get_HeaderType, &I::put_HeaderType);
    CheckFourBytes("HeaderCreator", &I::get_HeaderCreator, &I::put_HeaderCreator);
    const auto dual = As<DTalvoBinHexEncodingFormat>(New(kBinHex).Data);
    for (const auto get : {&DTalvoBinHexEncodingFormat::get_HeaderType, &DTalvoBinHexEncodingFormat::get_HeaderCreator})
        Expect("Talvo.BinHexEncoding.1", E_POINTER, [&] { return (dual.Get()->*get)(nullptr); });
}

TEST(Properties, Interfaces) {
    ForEachFormat([](const FormatObject& format) {
        ExpectInterfaces(format.Data.Get(), {format.Dual, format.Native, IID_IDispatch},
                         {IID_IUnknown, IID_ITalvoEncodeData, IID_ITalvoProcessData, IID_ISupportErrorInfo},
                         {IID_ITalvoBinaryEncoding, IID_IClassFactory, CLSID_TalvoUUEncodingFormat,
                          format.BeginLine ? IID_ITalvoHexaEncodingFormat : IID_ITalvoXXEncodingFormat});
        EXPECT_EQ(format.Data->AddRef(), 2u);
        EXPECT_EQ(As<IDispatch>(format.Data)->Release(), 2u);
    });
}

}  // namespace
}  // namespace talvo::test
