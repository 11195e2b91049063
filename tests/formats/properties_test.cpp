// Every property of every class on both of its interfaces: defaults, values kept, refusals, error information.
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include "tests/formats/format_classes.h"
#include "tests/support/allocation_faults.h"

namespace talvo::test {
namespace {

// The accessors of one property on one interface, over numbers. A get that writes more than its type is an error.
struct Side {
    std::function<HRESULT(int64_t*)> Get;
    std::function<HRESULT()> GetNull;
    std::function<HRESULT(int64_t)> Put;

    int64_t Value() const {
        int64_t value = -12345;
        EXPECT_EQ(Name(Get(&value)), "S_OK");
        return value;
    }
};

template <class I, class G, class P>
Side MakeSide(const com::ComPtr<I>& object, HRESULT (STDMETHODCALLTYPE I::*get)(G*),
              HRESULT (STDMETHODCALLTYPE I::*put)(P)) {
    I* const raw = object.Get();
    return {[=](int64_t* value) {
                G box[2];
                G untouched;
                std::memset(box, 0xCC, sizeof(box));
                std::memset(&untouched, 0xCC, sizeof(untouched));
                const HRESULT hr = (raw->*get)(box);
                EXPECT_EQ(std::memcmp(&box[1], &untouched, sizeof(G)), 0);
                *value = static_cast<int64_t>(box[0]);
                return hr;
            },
            [=] { return (raw->*get)(nullptr); }, [=](int64_t value) { return (raw->*put)(static_cast<P>(value)); }};
}

struct Property {
    Side Native;
    Side Dual;
};
using Properties = std::map<std::string, Property>;

template <class Format>
struct Subject {
    using N = typename Format::Native;
    using D = typename Format::Dual;
    com::ComPtr<ITalvoEncodeData> Data = Format::New();
    com::ComPtr<N> Native = As<N>(Data);
    com::ComPtr<D> Dual = As<D>(Data);

    Properties Numbers() const {
        Properties all;
#define NUMBER(property)                                                        \
    all[#property] = {MakeSide(Native, &N::get_##property, &N::put_##property), \
                      MakeSide(Dual, &D::get_##property, &D::put_##property)}
        NUMBER(EndOfLineType);
        NUMBER(MaxLineLength);
        NUMBER(ContinueOnInvalidData);
        if constexpr (HasHeader<Format>) NUMBER(IncludeHeaderFooter);
        if constexpr (HasBeginLine<Format>) NUMBER(HeaderPermissions);
        if constexpr (HasFileInformation<Format>) {
            NUMBER(HeaderFlags);
            NUMBER(HeaderDataForkLength);
            NUMBER(HeaderResourceForkLength);
        }
#undef NUMBER
        return all;
    }
};

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

void ExpectReading(const Property& property, const Reading& expected) {
    EXPECT_EQ(property.Native.Value(), expected.Native);
    EXPECT_EQ(property.Dual.Value(), expected.Dual);
}

constexpr int64_t kMaxUnsigned = 0xFFFFFFFF;

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

bool Names(std::string_view classes, std::string_view name) {
    return classes.empty() || (" " + std::string(classes) + " ").find(" " + std::string(name) + " ") != classes.npos;
}

TEST(Properties, ANewObjectReportsTheDefaults) {
    ForEachFormat([]<class Format>() {
        const Subject<Format> subject;
        const Properties properties = subject.Numbers();
        EXPECT_EQ(properties.size(), HasBeginLine<Format> ? 5u : HasFileInformation<Format> ? 7u : 3u);
        for (const auto& [name, property] : properties) {
            SCOPED_TRACE(name);
            ExpectReading(property, kDefaults.at(name));
        }
    });
}

TEST(Properties, ValuesReadBackOnBothInterfacesWhicheverTookThem) {
    ForEachFormat([]<class Format>() {
        for (const auto& row : kValues) {
            SCOPED_TRACE(testing::Message() << row.Property << " = " << row.Put);
            for (Side Property::*side : {&Property::Native, &Property::Dual}) {
                const Subject<Format> subject;
                const Properties properties = subject.Numbers();
                const auto found = properties.find(row.Property);
                if (found == properties.end() || !Names(row.Classes, Format::kName)) continue;
                LeaveStaleError();
                EXPECT_EQ(Name((found->second.*side).Put(row.Put)), Name(row.Code));
                EXPECT_EQ(TakeError(), ErrorOf(Format::kProgId, row.Code));
                ExpectReading(found->second, row.Expected);
            }
        }
    });
}

// 32 bits on the native interface, 16 on the other: what lies above does not count there.
TEST(Properties, OnlyTheBitsOfABooleanCount) {
    const Subject<Base64> subject;
    const Properties properties = subject.Numbers();
    const Property& tolerant = properties.at("ContinueOnInvalidData");
    EXPECT_EQ(tolerant.Native.Put(0x10000), S_OK);
    ExpectReading(tolerant, {1, -1});
    EXPECT_EQ(tolerant.Dual.Put(0x10000), S_OK);
    ExpectReading(tolerant, {0, 0});
}

TEST(Properties, NullOutPointersAreRefusedAndSuccessClearsErrorInformation) {
    ForEachFormat([]<class Format>() {
        const Subject<Format> subject;
        for (const auto& [name, property] : subject.Numbers()) {
            SCOPED_TRACE(name);
            for (const Side* side : {&property.Native, &property.Dual}) {
                EXPECT_EQ(Name(side->GetNull()), "E_POINTER");
                EXPECT_EQ(TakeError(), ErrorOf(Format::kProgId, E_POINTER));
                LeaveStaleError();
                side->Value();
                EXPECT_EQ(TakeError(), "none");
            }
        }
    });
}

TEST(Properties, AreFrozenWhileAConversionIsOpen) {
    ForEachFormat([]<class Format>() {
        const Subject<Format> subject;
        const Properties properties = subject.Numbers();
        for (const bool decoding : {false, true}) {
            ASSERT_EQ(decoding ? Revert(subject.Data.Get(), "", false).Code : OpenConversion(subject.Data.Get()),
                      "S_OK");
            for (const auto& [name, property] : properties) {
                SCOPED_TRACE(name);
                const Reading before{property.Native.Value(), property.Dual.Value()};
                for (const Side* side : {&property.Native, &property.Dual}) {
                    LeaveStaleError();
                    EXPECT_EQ(Name(side->Put(2)), "berSessionOpened");
                    EXPECT_EQ(TakeError(), ErrorOf(Format::kProgId, berSessionOpened));
                    ExpectReading(property, before);
                }
            }
            // Also a value that would be refused anyway says first that a conversion is open.
            EXPECT_EQ(Name(properties.at("EndOfLineType").Native.Put(9)), "berSessionOpened");
            EXPECT_EQ(subject.Data->Reset(), S_OK);
            EXPECT_EQ(properties.at("MaxLineLength").Native.Put(20), S_OK);
            EXPECT_EQ(properties.at("MaxLineLength").Dual.Value(), 20);
        }
    });
}

// --- HeaderFilename

std::string Text(const com::UniqueBstr& text) {
    return text ? Narrow({text.Get(), SysStringLen(text.Get())}) : "(null)";
}

template <class I>
void CheckFilename(const com::ComPtr<I>& object, ITalvoEncodeData* data, std::string_view progId) {
    // A format without a header reports nothing but the code.
    const auto error = [&](HRESULT code) { return progId.empty() ? "stale" : ErrorOf(progId, code); };
    com::UniqueBstr read;
    LeaveStaleError();
    EXPECT_EQ(Name(object->get_HeaderFilename(nullptr)), "E_POINTER");
    EXPECT_EQ(TakeError(), error(E_POINTER));
    for (const char* const name : {"first.bin", "", "a name.txt"}) {
        LeaveStaleError();
        EXPECT_EQ(object->put_HeaderFilename(Bstr(name).Get()), S_OK);
        EXPECT_EQ(TakeError(), error(S_OK));
        LeaveStaleError();
        EXPECT_EQ(object->get_HeaderFilename(read.Put()), S_OK);
        EXPECT_EQ(TakeError(), error(S_OK));
        EXPECT_EQ(Text(read), name);
        EXPECT_EQ(data->get_HeaderFilename(read.Put()), S_OK);
        EXPECT_EQ(Text(read), name);
    }
    ASSERT_EQ(OpenConversion(data), "S_OK");
    LeaveStaleError();
    EXPECT_EQ(Name(object->put_HeaderFilename(Bstr("late").Get())), "berSessionOpened");
    EXPECT_EQ(TakeError(), error(berSessionOpened));
    EXPECT_EQ(object->get_HeaderFilename(read.Put()), S_OK);
    EXPECT_EQ(Text(read), "a.txt");
    EXPECT_EQ(data->Reset(), S_OK);
    EXPECT_EQ(object->put_HeaderFilename(nullptr), S_OK);
    EXPECT_EQ(object->get_HeaderFilename(read.Put()), S_OK);
    EXPECT_EQ(Text(read), "");
}

TEST(Properties, HeaderFilename) {
    ForEachFormat([]<class Format>() {
        const Subject<Format> subject;
        com::UniqueBstr read;
        EXPECT_EQ(subject.Data->get_HeaderFilename(read.Put()), S_OK);
        EXPECT_EQ(Text(read), "");
        ITalvoEncodeData* const data = subject.Data.Get();
        if constexpr (HasHeader<Format>) {
            CheckFilename(subject.Native, data, Format::kProgId);
            CheckFilename(subject.Dual, data, Format::kProgId);
            CheckFilename(subject.Data, data, Format::kProgId);
        } else {
            CheckFilename(subject.Data, data, "");
        }
    });
}

// A name is a counted string: a zero character in it is kept.
TEST(Properties, HeaderFilenameKeepsEveryCharacter) {
    const Subject<UU> subject;
    const WCHAR name[] = {'a', 0, 0xE9, 0x4E2D};
    const com::UniqueBstr put(SysAllocStringLen(name, 4));
    com::UniqueBstr read;
    EXPECT_EQ(subject.Native->put_HeaderFilename(put.Get()), S_OK);
    EXPECT_EQ(subject.Dual->get_HeaderFilename(read.Put()), S_OK);
    EXPECT_EQ(WideText(read.Get(), SysStringLen(read.Get())), WideText(name, 4));
    EXPECT_NE(read.Get(), put.Get());
}

// What the header of a text will supply is cleared when its decoding opens, and nothing else is.
TEST(Properties, ADecodingClearsTheHeaderValuesItWillReplace) {
    ForEachFormat([]<class Format>() {
        for (const bool header : {true, false}) {
            const Subject<Format> subject;
            const Properties properties = subject.Numbers();
            for (const auto& [name, property] : properties)
                property.Native.Put(name == "IncludeHeaderFooter" ? header : 3);
            subject.Data->put_HeaderFilename(Bstr("set.bin").Get());
            ASSERT_EQ(Revert(subject.Data.Get(), "", false).Code, "S_OK");
            com::UniqueBstr read;
            EXPECT_EQ(subject.Data->get_HeaderFilename(read.Put()), S_OK);
            const bool cleared = HasFileInformation<Format> || (HasBeginLine<Format> && header);
            EXPECT_EQ(Text(read), cleared ? "" : "set.bin") << header;
            for (const char* name : {"HeaderPermissions", "HeaderFlags", "HeaderDataForkLength"}) {
                if (!properties.contains(name)) continue;
                EXPECT_EQ(properties.at(name).Native.Value(), cleared ? 0 : 3) << name;
            }
            EXPECT_EQ(properties.at("EndOfLineType").Native.Value(), 3);
        }
    });
}

// What a decoded text says about its file is read as properties, and written back by the next encoding.
TEST(Properties, ADecodedHeaderIsReadAndWrittenBack) {
    ForEachFormat([]<class Format>() {
        if constexpr (HasBeginLine<Format>) {
            const Subject<Format> subject;
            ITalvoEncodeData* const data = subject.Data.Get();
            com::UniqueBstr name;
            data->put_HeaderFilename(Bstr("set.bin").Get());
            EXPECT_EQ(Revert(data, "begin 644 a.txt\n", false).Code, "S_OK");
            EXPECT_EQ(Revert(data, "+", true).Code, "S_OK");
            EXPECT_EQ(subject.Dual->get_HeaderFilename(name.Put()), S_OK);
            EXPECT_EQ(Text(name), "a.txt");
            ExpectReading(subject.Numbers().at("HeaderPermissions"), {420, 420});
            EXPECT_EQ(Process(data, "", true).Bytes.substr(0, 18), "begin 0644 a.txt\r\n");

            EXPECT_EQ(Revert(data, "no header", true).Bytes, "");
            EXPECT_EQ(Process(data, "", true).Code, "berEmptyFileNameInHeader");
            data->Reset();
            subject.Native->put_IncludeHeaderFooter(0);
            data->put_HeaderFilename(Bstr("set.bin").Get());
            EXPECT_EQ(Revert(data, "", true).Code, "S_OK");
            EXPECT_EQ(data->get_HeaderFilename(name.Put()), S_OK);
            EXPECT_EQ(Text(name), "set.bin");
        }
    });
}

// --- HeaderType and HeaderCreator

struct Four {
    decltype(&ITalvoBinHexEncodingFormat::get_HeaderType) GetNative;
    decltype(&ITalvoBinHexEncodingFormat::put_HeaderType) PutNative;
    decltype(&DTalvoBinHexEncodingFormat::get_HeaderType) GetDual;
    decltype(&DTalvoBinHexEncodingFormat::put_HeaderType) PutDual;
};
constexpr Four kFours[] = {
    {&ITalvoBinHexEncodingFormat::get_HeaderType, &ITalvoBinHexEncodingFormat::put_HeaderType,
     &DTalvoBinHexEncodingFormat::get_HeaderType, &DTalvoBinHexEncodingFormat::put_HeaderType},
    {&ITalvoBinHexEncodingFormat::get_HeaderCreator, &ITalvoBinHexEncodingFormat::put_HeaderCreator,
     &DTalvoBinHexEncodingFormat::get_HeaderCreator, &DTalvoBinHexEncodingFormat::put_HeaderCreator},
};

std::string FourBytes(const Subject<BinHex>& subject, const Four& four) {
    BYTE* block = nullptr;
    EXPECT_EQ((subject.Native.Get()->*four.GetNative)(&block), S_OK);
    std::string native = TakeBlock(block, 4);
    VARIANT dual;
    EXPECT_EQ((subject.Dual.Get()->*four.GetDual)(&dual), S_OK);
    EXPECT_EQ(V_VT(&dual), VT_ARRAY | VT_UI1);
    LONG lower = -1;
    LONG upper = -1;
    void* data = nullptr;
    EXPECT_EQ(SafeArrayGetDim(V_ARRAY(&dual)), 1u);
    SafeArrayGetLBound(V_ARRAY(&dual), 1, &lower);
    SafeArrayGetUBound(V_ARRAY(&dual), 1, &upper);
    EXPECT_EQ(std::make_pair(lower, upper), std::make_pair(LONG{0}, LONG{3}));
    EXPECT_EQ(SafeArrayAccessData(V_ARRAY(&dual), &data), S_OK);
    EXPECT_EQ(std::string(static_cast<const char*>(data), 4), native);
    SafeArrayUnaccessData(V_ARRAY(&dual));
    VariantClear(&dual);
    return native;
}

VARIANT ByteArray(std::string_view bytes) {
    VARIANT array;
    V_VT(&array) = VT_ARRAY | VT_UI1;
    V_ARRAY(&array) = SafeArrayCreateVector(VT_UI1, 1, static_cast<ULONG>(bytes.size()));
    void* data = nullptr;
    if (SUCCEEDED(SafeArrayAccessData(V_ARRAY(&array), &data))) {
        std::memcpy(data, bytes.data(), bytes.size());
        SafeArrayUnaccessData(V_ARRAY(&array));
    }
    return array;
}

TEST(Properties, HeaderTypeAndCreator) {
    using namespace std::string_literals;
    VARIANT text;
    V_VT(&text) = VT_BSTR;
    V_BSTR(&text) = Bstr("TEXT").Detach();
    VARIANT number;
    V_VT(&number) = VT_I2;
    V_I2(&number) = 0x4241;
    VARIANT empty;
    VariantInit(&empty);
    struct Form {
        VARIANT Value;
        std::string Stored;
    } forms[] = {{ByteArray("ABCDEF"), "ABCD"s},
                 {ByteArray("ABC"), "ABC\0"s},
                 {text, "T\0E\0"s},
                 {number, "AB\0\0"s},
                 {empty, "\0\0\0\0"s}};

    const Subject<BinHex> subject;
    for (const Four& four : kFours) {
        EXPECT_EQ(FourBytes(subject, four), "\0\0\0\0"s);
        EXPECT_EQ((subject.Native.Get()->*four.PutNative)(reinterpret_cast<const BYTE*>("abcdef")), S_OK);
        EXPECT_EQ(FourBytes(subject, four), "abcd");
        for (const Form& form : forms) {
            EXPECT_EQ((subject.Dual.Get()->*four.PutDual)(form.Value), S_OK);
            EXPECT_EQ(FourBytes(subject, four), form.Stored);
            EXPECT_EQ(TakeError(), "none");
        }
        (subject.Dual.Get()->*four.PutDual)(forms[0].Value);

        const auto refused = [&](HRESULT code, HRESULT expected) {
            EXPECT_EQ(Name(code), Name(expected));
            EXPECT_EQ(TakeError(), ErrorOf(BinHex::kProgId, expected));
        };
        refused((subject.Native.Get()->*four.GetNative)(nullptr), E_POINTER);
        refused((subject.Dual.Get()->*four.GetDual)(nullptr), E_POINTER);
        refused((subject.Native.Get()->*four.PutNative)(nullptr), E_POINTER);
        ASSERT_EQ(OpenConversion(subject.Data.Get()), "S_OK");
        refused((subject.Native.Get()->*four.PutNative)(reinterpret_cast<const BYTE*>("wxyz")), berSessionOpened);
        refused((subject.Dual.Get()->*four.PutDual)(forms[1].Value), berSessionOpened);
        EXPECT_EQ(FourBytes(subject, four), "ABCD");
        EXPECT_EQ(subject.Data->Reset(), S_OK);
    }
    for (Form& form : forms) VariantClear(&form.Value);
}

// An accessor without memory says so; only the get of a name leaves the error information as it was.
TEST(Properties, WithoutMemory) {
    const Subject<BinHex> subject;
    const com::UniqueBstr name = Bstr("name");
    com::UniqueBstr read;
    BYTE* four = nullptr;
    VARIANT dual;
    const struct {
        const char* name;
        std::function<HRESULT()> call;
        bool silent;
    } kRows[] = {
        {"get of the name", [&] { return subject.Native->get_HeaderFilename(read.Put()); }, true},
        {"put of the name", [&] { return subject.Native->put_HeaderFilename(name.Get()); }, false},
        {"native get of four bytes", [&] { return subject.Native->get_HeaderType(&four); }, false},
        {"automation get of four bytes", [&] { return subject.Dual->get_HeaderCreator(&dual); }, false},
    };
    for (const auto& row : kRows) {
        ASSERT_EQ(subject.Data->put_HeaderFilename(name.Get()), S_OK);
        LeaveStaleError();
        AllocationFaults faults;
        faults.FailNth(1);
        EXPECT_EQ(Name(row.call()), "E_OUTOFMEMORY") << row.name;
        EXPECT_EQ(TakeError(), row.silent ? "stale" : ErrorOf(BinHex::kProgId, E_OUTOFMEMORY)) << row.name;
    }
    EXPECT_FALSE(four);
}

// The file information goes into a text and comes out of it; while it is not read yet, there is none.
TEST(Properties, FileInformationTravelsInABinHexText) {
    constexpr std::string_view kStart = "(This file must be converted with BinHex 4.0)\r\n:\"h,TFbjdH(3!39\"36%0\"8N";
    constexpr std::string_view kRest = "q\"!3#3!`3!N!-'&8eNBA4KKf*bCA13!*!$cT8:\r\n";
    const WCHAR name[] = {'r', 0xE9, 's', '.', 't', 'x', 't'};
    constexpr std::string_view kForks = "datares\x90\x90\x90";
    const Subject<BinHex> writer;
    ASSERT_EQ(writer.Native->put_HeaderFilename(com::UniqueBstr(SysAllocStringLen(name, 7)).Get()), S_OK);
    ASSERT_EQ(writer.Native->put_HeaderType(reinterpret_cast<const BYTE*>("APPL")), S_OK);
    VARIANT creator = ByteArray("CARO");
    ASSERT_EQ(writer.Dual->put_HeaderCreator(creator), S_OK);
    VariantClear(&creator);
    const std::map<std::string, Reading> numbers = {
        {"HeaderFlags", {0x8101, -0x7EFF}}, {"HeaderDataForkLength", {4, 4}}, {"HeaderResourceForkLength", {6, 6}}};
    for (const auto& [property, value] : numbers) {
        ASSERT_EQ(writer.Numbers().at(property).Dual.Put(value.Dual), S_OK);
    }
    EXPECT_EQ(Process(writer.Data.Get(), kForks, true).Bytes, std::string(kStart) + std::string(kRest));

    // The object that has written reads: nothing of what was set remains.
    const Subject<BinHex>& reader = writer;
    const auto values = [&] {
        com::UniqueBstr read;
        EXPECT_EQ(reader.Dual->get_HeaderFilename(read.Put()), S_OK);
        return Text(read) + FourBytes(reader, kFours[0]) + FourBytes(reader, kFours[1]);
    };
    EXPECT_EQ(Revert(reader.Data.Get(), kStart, false).Code, "S_OK");
    EXPECT_EQ(values(), std::string(8, '\0'));
    for (const auto& [property, value] : numbers) ExpectReading(reader.Numbers().at(property), {0, 0});
    EXPECT_EQ(Revert(reader.Data.Get(), kRest, false).Bytes, kForks);
    EXPECT_EQ(values(), "r?s.txtAPPLCARO");
    for (const auto& [property, value] : numbers) ExpectReading(reader.Numbers().at(property), value);
    EXPECT_EQ(Name(reader.Data->Reset()), "S_OK");
    EXPECT_EQ(values(), "r?s.txtAPPLCARO");
}

// Options refused only when a conversion opens.
TEST(Properties, WhatAConversionCannotOpenWith) {
    ForEachFormat([]<class Format>() {
        if constexpr (HasHeader<Format>) {
            const Subject<Format> subject;
            EXPECT_EQ(Process(subject.Data.Get(), "", false).Code, "berEmptyFileNameInHeader");
            EXPECT_EQ(subject.Data->Reset(), S_OK);
            if constexpr (HasFileInformation<Format>) {
                subject.Native->put_HeaderFilename(Bstr("a").Get());
                subject.Native->put_EndOfLineType(bltNone);
                EXPECT_EQ(Process(subject.Data.Get(), "", false).Code, "berInvalidEndOfLineType");
                EXPECT_EQ(subject.Data->Reset(), S_OK);
            }
            subject.Native->put_HeaderFilename(nullptr);
            EXPECT_EQ(subject.Native->put_IncludeHeaderFooter(0), S_OK);
            EXPECT_EQ(Process(subject.Data.Get(), "", false).Code, "S_OK");
        }
    });
}

}  // namespace
}  // namespace talvo::test
