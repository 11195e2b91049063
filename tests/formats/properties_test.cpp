// Every property of every class on both of its interfaces: defaults, values kept, refusals, error information. And the
// interface table: what QueryInterface answers, and ISupportErrorInfo.
#include "tests/component/variants.h"
#include "tests/formats/format_classes.h"
#include "tests/support/allocation_faults.h"

namespace talvo::test {
namespace {

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

// What a call must answer and leave behind; `reports` is false where nothing but the code is told.
void Expect(const char* progId, HRESULT expected, const std::function<HRESULT()>& call, bool reports = true) {
    LeaveStaleError();
    EXPECT_EQ(Name(call()), Name(expected));
    EXPECT_EQ(TakeError(), reports ? ErrorOf(progId, expected) : "stale");
}

TEST(Properties, DefaultsAndNullPointers) {
    ForEachFormat([](const FormatObject& format) {
        EXPECT_EQ(format.Numbers.size(), format.BeginLine ? 5u : format.FileInformation ? 7u : 3u);
        EXPECT_EQ(FilenameOf(format.Data.Get()), "");
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
        const WCHAR name[] = {'a', 0, 0xE9, 0x4E2D};
        const com::UniqueBstr put(SysAllocStringLen(name, 4));
        com::UniqueBstr read;
        Expect(
            format.ProgId, E_POINTER, [&] { return format.Data->get_HeaderFilename(nullptr); }, format.Header());
        Expect(
            format.ProgId, S_OK, [&] { return format.Data->put_HeaderFilename(put.Get()); }, format.Header());
        Expect(
            format.ProgId, S_OK, [&] { return format.Data->get_HeaderFilename(read.Put()); }, format.Header());
        EXPECT_EQ(WideText(read.Get(), SysStringLen(read.Get())), WideText(name, 4));
        EXPECT_NE(read.Get(), put.Get());
        if (format.Header()) {
            const auto dual = As<IDispatch>(format.Data);
            EXPECT_EQ(Call(dual.Get(), "HeaderFilename", DISPATCH_PROPERTYPUT, {Variant::Text("b")}).Code, "S_OK");
            EXPECT_EQ(FilenameOf(format.Data.Get()), "b");
            EXPECT_EQ(Call(dual.Get(), "HeaderFilename", DISPATCH_PROPERTYGET).Result.Show(), "text b");
        }
        EXPECT_EQ(format.Data->put_HeaderFilename(nullptr), S_OK);
        EXPECT_EQ(FilenameOf(format.Data.Get()), "");
    });
}

// What the header of a text will supply is cleared when its decoding opens, and nothing else is.
TEST(Properties, ADecodingClearsTheHeaderValuesItWillReplace) {
    for (const bool header : {true, false}) {
        ForEachFormat([&](const FormatObject& format) {
            for (const auto& [name, property] : format.Numbers)
                property.Native.Put(name == "IncludeHeaderFooter" ? header : 3);
            format.Data->put_HeaderFilename(Bstr("set.bin").Get());
            ASSERT_EQ(Revert(format.Data.Get(), "", false).Code, "S_OK");
            const bool cleared = format.FileInformation || (format.BeginLine && header);
            EXPECT_EQ(FilenameOf(format.Data.Get()), cleared ? "" : "set.bin");
            for (const auto& [name, property] : format.Numbers) {
                const bool supplied = name.starts_with("Header");
                const bool flag = name == "ContinueOnInvalidData" || name == "IncludeHeaderFooter";
                const int64_t set = name == "IncludeHeaderFooter" ? header : flag ? 1 : name == "MaxLineLength" ? 5 : 3;
                if (name == "MaxLineLength" && !format.Header()) continue;
                EXPECT_EQ(property.Native.Value(), supplied && cleared ? 0 : set) << name;
            }
        });
    }
}

// What a decoded text says about its file is read as properties, and written back by the next encoding.
TEST(Properties, ADecodedHeaderIsReadAndWrittenBack) {
    ForEachFormat([](const FormatObject& format) {
        if (!format.BeginLine) return;
        ITalvoEncodeData* const data = format.Data.Get();
        data->put_HeaderFilename(Bstr("set.bin").Get());
        EXPECT_EQ(Revert(data, "begin 644 a.txt\n", false).Code, "S_OK");
        EXPECT_EQ(Revert(data, "+", true).Code, "S_OK");
        EXPECT_EQ(FilenameOf(data), "a.txt");
        ExpectReading(format.Number("HeaderPermissions"), {420, 420});
        EXPECT_EQ(Process(data, "", true).Bytes.substr(0, 18), "begin 0644 a.txt\r\n");

        EXPECT_EQ(Revert(data, "no header", true).Bytes, "");
        EXPECT_EQ(Process(data, "", true).Code, "berEmptyFileNameInHeader");
    });
}

// The file information goes into a text and comes out of it; while it is not read yet, there is none.
TEST(Properties, FileInformationTravelsInABinHexText) {
    constexpr std::string_view kStart = "(This file must be converted with BinHex 4.0)\r\n:\"h,TFbjdH(3!39\"36%0\"8N";
    constexpr std::string_view kRest = "q\"!3#3!`3!N!-'&8eNBA4KKf*bCA13!*!$cT8:\r\n";
    constexpr std::string_view kForks = "datares\x90\x90\x90";
    const WCHAR name[] = {'r', 0xE9, 's', '.', 't', 'x', 't'};
    const FormatObject format = New(kBinHex);
    const auto native = As<ITalvoBinHexEncodingFormat>(format.Data);
    ITalvoEncodeData* const data = format.Data.Get();
    ASSERT_EQ(data->put_HeaderFilename(com::UniqueBstr(SysAllocStringLen(name, 7)).Get()), S_OK);
    ASSERT_EQ(native->put_HeaderType(reinterpret_cast<const BYTE*>("APPL")), S_OK);
    ASSERT_EQ(native->put_HeaderCreator(reinterpret_cast<const BYTE*>("CARO")), S_OK);
    const std::map<std::string, Reading> numbers = {
        {"HeaderFlags", {0x8101, -0x7EFF}}, {"HeaderDataForkLength", {4, 4}}, {"HeaderResourceForkLength", {6, 6}}};
    for (const auto& [property, value] : numbers) ASSERT_EQ(format.Number(property.c_str()).Dual.Put(value.Dual), S_OK);
    EXPECT_EQ(Process(data, kForks, true).Bytes, std::string(kStart) + std::string(kRest));

    // The object that has written reads: nothing of what was set remains.
    const auto values = [&] {
        BYTE* type = nullptr;
        BYTE* creator = nullptr;
        native->get_HeaderType(&type);
        native->get_HeaderCreator(&creator);
        return FilenameOf(data) + TakeBlock(type, 4) + TakeBlock(creator, 4);
    };
    EXPECT_EQ(Revert(data, kStart, false).Code, "S_OK");
    EXPECT_EQ(values(), std::string(8, '\0'));
    for (const auto& [property, value] : numbers) ExpectReading(format.Number(property.c_str()), {0, 0});
    EXPECT_EQ(Revert(data, kRest, false).Bytes, kForks);
    for (const auto& [property, value] : numbers) ExpectReading(format.Number(property.c_str()), value);
    EXPECT_EQ(Name(data->Reset()), "S_OK");
    EXPECT_EQ(values(), "r?s.txtAPPLCARO");
}

// An accessor without memory says so; only the get of a name leaves the error information as it was.
TEST(Properties, WithoutMemory) {
    const FormatObject format = NewNamed(kBinHex);
    const auto native = As<ITalvoBinHexEncodingFormat>(format.Data);
    const auto dual = As<DTalvoBinHexEncodingFormat>(format.Data);
    const com::UniqueBstr name = Bstr("name");
    com::UniqueBstr read;
    BYTE* four = nullptr;
    VARIANT bytes;
    const struct {
        std::function<HRESULT()> Call;
        bool Reports;
    } rows[] = {{[&] { return native->get_HeaderFilename(read.Put()); }, false},
                {[&] { return native->put_HeaderFilename(name.Get()); }, true},
                {[&] { return native->get_HeaderType(&four); }, true},
                {[&] { return dual->get_HeaderCreator(&bytes); }, true}};
    for (const auto& row : rows) {
        ASSERT_EQ(format.Data->put_HeaderFilename(name.Get()), S_OK);
        LeaveStaleError();
        AllocationFaults faults;
        faults.FailNth(1);
        EXPECT_EQ(Name(row.Call()), "E_OUTOFMEMORY");
        EXPECT_EQ(TakeError(), row.Reports ? ErrorOf(format.ProgId, E_OUTOFMEMORY) : "stale");
    }
    EXPECT_FALSE(four);
}

// Options refused only when a conversion opens: the object is as before, and converts when they are put right.
TEST(Properties, WhatAConversionCannotOpenWith) {
    ForEachFormat([](const FormatObject& format) {
        if (!format.Header()) return;
        EXPECT_EQ(Process(format.Data.Get(), "", false).Code, "berEmptyFileNameInHeader");
        EXPECT_EQ(Revert(format.Data.Get(), "", false).Code, "berSessionOpened");  // Process has it until the end
        EXPECT_EQ(Name(format.Link(nullptr)), "berSessionOpened");
        EXPECT_EQ(Name(format.Data->put_HeaderFilename(Bstr("a").Get())), "S_OK");  // options follow the session
        if (format.FileInformation) {
            format.Number("EndOfLineType").Dual.Put(bltNone);
            EXPECT_EQ(Process(format.Data.Get(), "", true).Code, "berInvalidEndOfLineType");
            EXPECT_EQ(Revert(format.Data.Get(), "", false).Code, "S_OK");
            EXPECT_EQ(format.Data->Reset(), S_OK);
            EXPECT_EQ(Name(format.Number("IncludeHeaderFooter").Native.Put(0)), "S_OK");
        }
        EXPECT_EQ(Process(format.Data.Get(), "", false).Code, "S_OK");
    });
}

// --- HeaderType and HeaderCreator

template <class GetNative, class PutNative>
void CheckFourBytes(const char* member, GetNative get, PutNative put) {
    using namespace std::string_literals;
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
    } forms[] = {{Variant(), "\0\0\0\0"s},
                 {Variant::Text("TEXT"), "T\0E\0"s},
                 {Variant::Number(0x44434241), "ABCD"s},
                 {Variant::Bytes("ABC"), "ABC\0"s},
                 {Variant::Bytes("ABCDEF"), "ABCD"s}};
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

// --- The interface table

// From every interface every other one is reached, always at the same pointer; no other class's interface is.
TEST(Identity, EveryInterfaceLeadsToEveryOther) {
    ForEachFormat([](const FormatObject& format) {
        const auto ask = [](IUnknown* object, REFIID iid) {
            com::ComPtr<IUnknown> found;
            EXPECT_EQ(object->QueryInterface(iid, found.PutVoid()), S_OK) << GuidText(iid);
            return found;
        };
        const auto table = format.Interfaces();
        for (const IID& from : table) {
            const auto start = ask(format.Data.Get(), from);
            for (const IID& to : table) EXPECT_EQ(ask(start.Get(), to).Get(), ask(format.Data.Get(), to).Get());
            for (const IID& missing : {IID_ITalvoBinaryEncoding, IID_IClassFactory, CLSID_TalvoUUEncodingFormat,
                                       format.BeginLine ? IID_ITalvoHexaEncodingFormat : IID_ITalvoXXEncodingFormat}) {
                void* found = &found;
                EXPECT_EQ(Name(start->QueryInterface(missing, &found)), "E_NOINTERFACE");
                EXPECT_EQ(found, nullptr);
            }
            EXPECT_EQ(Name(start->QueryInterface(IID_IUnknown, nullptr)), "E_POINTER");
        }
        EXPECT_EQ(ask(format.Data.Get(), IID_ITalvoProcessData).Get(),
                  ask(format.Data.Get(), IID_ITalvoEncodeData).Get());
        EXPECT_EQ(ask(format.Data.Get(), IID_IDispatch).Get(), ask(format.Data.Get(), format.Dual).Get());
        EXPECT_EQ(format.Data->AddRef(), 2u);
        EXPECT_EQ(As<IDispatch>(format.Data)->Release(), 2u);

        const auto support = As<ISupportErrorInfo>(format.Data);
        for (const IID& iid : {format.Dual, format.Native, IID_IDispatch, IID_ITalvoEncodeData, IID_ITalvoProcessData,
                               IID_ISupportErrorInfo, IID_IUnknown, IID_DTalvoBinaryEncoding}) {
            const bool reports = iid == format.Dual || iid == format.Native || iid == IID_IDispatch;
            EXPECT_EQ(support->InterfaceSupportsErrorInfo(iid), reports ? S_OK : S_FALSE) << GuidText(iid);
        }
        LONG detects = 77;
        Expect(
            format.ProgId, berNoEncodingFormat, [&] { return format.Data->get_CanDetectEndOfData(&detects); }, false);
        EXPECT_EQ(detects, 77);
    });
}

}  // namespace
}  // namespace talvo::test
