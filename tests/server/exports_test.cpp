// The module's class objects and the objects that they make, when the module may be unloaded, and the texts of its
// result codes.
#include "com/module_state.h"
#include "server/results/error_info.h"
#include "tests/support/module/identity.h"

namespace talvo::test {
namespace {

struct ClassRow {
    CLSID Class;
    std::vector<IID> Interfaces;
};
const ClassRow kClasses[] = {
    {CLSID_TalvoBinaryEncoding,
     {IID_DTalvoBinaryEncoding, IID_IDispatch, IID_ITalvoBinaryEncoding, IID_ISupportErrorInfo}},
#define FORMAT(name)                                                                                                 \
    ClassRow {                                                                                                       \
        CLSID_Talvo##name##EncodingFormat, {                                                                         \
            IID_DTalvo##name##EncodingFormat, IID_IDispatch, IID_ITalvo##name##EncodingFormat, IID_ITalvoEncodeData, \
                IID_ITalvoProcessData, IID_ISupportErrorInfo                                                         \
        }                                                                                                            \
    }
    FORMAT(UU),
    FORMAT(XX),
    FORMAT(Base64),
    FORMAT(Hexa),
    FORMAT(BinHex),
    FORMAT(QuotedPrintable),
#undef FORMAT
};

com::ComPtr<IClassFactory> Factory(REFCLSID clsid) {
    com::ComPtr<IClassFactory> factory;
    EXPECT_EQ(Module::Get().ClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK) << GuidText(clsid);
    return factory;
}

TEST(Exports, ClassObjects) {
    const Module& module = Module::Get();
    Outer outer(CLSID_TalvoHexaEncodingFormat);
    void* none = &none;
    const auto refuses = [&](const char* code, HRESULT hr) {
        EXPECT_EQ(Name(hr), code);
        EXPECT_EQ(std::exchange(none, &none), nullptr);
    };
    for (const auto& [clsid, interfaces] : kClasses) {
        SCOPED_TRACE(GuidText(clsid));
        const auto factory = Factory(clsid);
        EXPECT_EQ(Factory(clsid).Get(), factory.Get());  // one for the life of the module
        EXPECT_EQ(As<IUnknown>(factory).Get(), static_cast<IUnknown*>(factory.Get()));
        refuses("E_NOINTERFACE", module.ClassObject(clsid, IID_IDispatch, &none));
        refuses("E_NOINTERFACE", factory->CreateInstance(nullptr, IID_IClassFactory, &none));
        for (const IID& iid : interfaces)  // an outer object asks for the inner's IUnknown first
            refuses("CLASS_E_NOAGGREGATION", factory->CreateInstance(&outer, iid, &none));
        for (IUnknown* const around : {static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(&outer)})
            EXPECT_EQ(Name(factory->CreateInstance(around, IID_IUnknown, nullptr)), "E_POINTER");
        EXPECT_EQ(Name(module.ClassObject(clsid, IID_IClassFactory, nullptr)), "E_POINTER");
        EXPECT_EQ(Name(factory->QueryInterface(IID_IUnknown, nullptr)), "E_POINTER");
    }
    refuses("CLASS_E_CLASSNOTAVAILABLE", module.ClassObject(IID_IUnknown, IID_IClassFactory, &none));
}

// An aggregated format in the chain of another is its outer object to the world, and works.
TEST(Exports, AnAggregatedFormatConverts) {
    Outer outer(CLSID_TalvoBase64EncodingFormat);
    const auto inner = As<ITalvoBase64EncodingFormat>(outer.Inner);
    const auto format = Create<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat);
    const auto processor = As<ITalvoProcessData>(inner);
    ASSERT_EQ(As<ITalvoBase64EncodingFormat>(format)->putref_SubProcessing(processor.Get()), S_OK);
    EXPECT_EQ(Process(format.Get(), "ABC", true).Bytes, "UVVKRA==");
    EXPECT_EQ(Name(inner->putref_SubProcessing(format.Get())), "E_INVALIDARG");
}

TEST(Exports, ObjectsAreOneAndKeepTheModule) {
    const Module& module = Module::Get();
    for (const auto& [clsid, interfaces] : kClasses) {
        SCOPED_TRACE(GuidText(clsid));
        ExpectOneIdentity(clsid, interfaces);
        EXPECT_TRUE(module.CanUnload());
        const auto object = Create<IUnknown>(clsid);
        EXPECT_FALSE(module.CanUnload());
    }
    auto factory = Factory(CLSID_TalvoUUEncodingFormat);
    EXPECT_FALSE(module.CanUnload());
    for (const BOOL lock : {TRUE, TRUE, FALSE}) EXPECT_EQ(factory->LockServer(lock), S_OK);
    factory.Reset();
    EXPECT_FALSE(module.CanUnload());
    EXPECT_EQ(Factory(CLSID_TalvoXXEncodingFormat)->LockServer(FALSE), S_OK);
    EXPECT_TRUE(module.CanUnload());
}

// The reporter of the program itself, reading the module's resources.
TEST(ErrorInformation, EveryCodeHasItsText) {
    com::ModuleState::Start(Module::Get().Handle(), {LIBID_TalvoBinaryEncodingLib, 1, 1, 1033});
    const auto report = [](REFCLSID clsid, HRESULT code) {
        EXPECT_EQ(ReportError(clsid, code), code);
        return TakeError();
    };
    const struct {
        HRESULT code;
        std::string text;
    } kRows[] = {
#define RESULT_CODE(name, value, text) {static_cast<HRESULT>(value), text "\r\n"},
#include "server/results/result_codes.def"
#undef RESULT_CODE
        {E_POINTER, MessageText(E_POINTER)},
        {E_FAIL, MessageText(E_FAIL)},
        {static_cast<HRESULT>(0x80044018), ""},  // the number that is not used
        {static_cast<HRESULT>(0x8004BEEF), ""},
    };
    EXPECT_EQ(std::size(kRows), 41u);
    for (const auto& row : kRows)
        EXPECT_EQ(report(CLSID_TalvoHexaEncodingFormat, row.code), "Talvo.HexaEncoding.1: " + row.text);
    EXPECT_EQ(report(CLSID_TalvoBinaryEncoding, berSessionOpened),
              "Talvo.BinaryEncoding.1: A session is already underway.\r\n");
    EXPECT_EQ(report(IID_IUnknown, berBusy), ": " + MessageText(berBusy));  // no class, no source
    LeaveStaleError();
    ClearError();
    EXPECT_EQ(TakeError(), "none");
    com::ModuleState::Stop(true);
}

}  // namespace
}  // namespace talvo::test
