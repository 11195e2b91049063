// The module's class objects, when it may be unloaded, and the texts of its result codes.
#include <gtest/gtest.h>

#include "com/module_state.h"
#include "server/results/error_info.h"
#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

const CLSID kClasses[] = {CLSID_TalvoBinaryEncoding,
                          CLSID_TalvoUUEncodingFormat,
                          CLSID_TalvoXXEncodingFormat,
                          CLSID_TalvoBase64EncodingFormat,
                          CLSID_TalvoHexaEncodingFormat,
                          CLSID_TalvoBinHexEncodingFormat,
                          CLSID_TalvoQuotedPrintableEncodingFormat};

com::ComPtr<IClassFactory> Factory(REFCLSID clsid) {
    com::ComPtr<IClassFactory> factory;
    EXPECT_EQ(Module::Get().ClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK) << GuidText(clsid);
    return factory;
}

TEST(Exports, ClassObjects) {
    const Module& module = Module::Get();
    for (const CLSID& clsid : kClasses) {
        const auto factory = Factory(clsid);
        EXPECT_EQ(Factory(clsid).Get(), factory.Get());  // one for the life of the module
        EXPECT_EQ(As<IUnknown>(factory).Get(), static_cast<IUnknown*>(factory.Get()));
        com::ComPtr<IUnknown> object;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, object.PutVoid()), S_OK);
        void* none = &none;
        EXPECT_EQ(Name(factory->CreateInstance(nullptr, IID_IClassFactory, &none)), "E_NOINTERFACE");
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(Name(factory->CreateInstance(nullptr, IID_IUnknown, nullptr)), "E_POINTER");
        none = &none;
        EXPECT_EQ(Name(module.ClassObject(clsid, IID_IDispatch, &none)), "E_NOINTERFACE");
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(Name(module.ClassObject(clsid, IID_IClassFactory, nullptr)), "E_POINTER");
        EXPECT_EQ(Name(factory->QueryInterface(IID_IUnknown, nullptr)), "E_POINTER");
    }
    void* none = &none;
    EXPECT_EQ(Name(module.ClassObject(IID_IUnknown, IID_IClassFactory, &none)), "CLASS_E_CLASSNOTAVAILABLE");
    EXPECT_EQ(none, nullptr);
}

TEST(Exports, TheModuleStaysWhileAnythingOfItLives) {
    const Module& module = Module::Get();
    for (const CLSID& clsid : kClasses) {
        EXPECT_TRUE(module.CanUnload());
        auto object = Create<IUnknown>(clsid);
        EXPECT_FALSE(module.CanUnload());
        object.Reset();
        EXPECT_TRUE(module.CanUnload());
    }
    auto factory = Factory(CLSID_TalvoUUEncodingFormat);
    EXPECT_FALSE(module.CanUnload());
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory.Reset();
    EXPECT_FALSE(module.CanUnload());
    EXPECT_EQ(Factory(CLSID_TalvoXXEncodingFormat)->LockServer(FALSE), S_OK);
    EXPECT_TRUE(module.CanUnload());
}

// The reporter of the program itself, reading the module's resources.
TEST(ErrorInformation, EveryCodeHasItsText) {
    const com::LibraryId library{LIBID_TalvoBinaryEncodingLib, 1, 1, 1033};
    com::ModuleState::Start(Module::Get().Handle(), library);
    const auto report = [](REFCLSID clsid, HRESULT code) {
        EXPECT_EQ(ReportError(clsid, code), code);
        return TakeError();
    };
    const struct {
        HRESULT Code;
        const char* Text;
    } rows[] = {
#define RESULT_CODE(name, value, text) {static_cast<HRESULT>(value), text "\r\n"},
#include "server/results/result_codes.def"
#undef RESULT_CODE
    };
    EXPECT_EQ(std::size(rows), 37u);
    for (const auto& row : rows)
        EXPECT_EQ(report(CLSID_TalvoHexaEncodingFormat, row.Code), std::string("Talvo.HexaEncoding.1: ") + row.Text);

    EXPECT_EQ(report(CLSID_TalvoBinaryEncoding, berSessionOpened),
              "Talvo.BinaryEncoding.1: A session is already underway.\r\n");
    for (const HRESULT code : {E_POINTER, E_OUTOFMEMORY, E_INVALIDARG, E_FAIL})
        EXPECT_EQ(report(CLSID_TalvoBinaryEncoding, code), "Talvo.BinaryEncoding.1: " + MessageText(code));
    EXPECT_EQ(report(CLSID_TalvoBinaryEncoding, static_cast<HRESULT>(0x8004BEEF)), "Talvo.BinaryEncoding.1: ");
    EXPECT_EQ(report(IID_IUnknown, berBusy), ": " + MessageText(berBusy));  // no class, no source
    LeaveStaleError();
    ClearError();
    EXPECT_EQ(TakeError(), "none");
    com::ModuleState::Stop(true);
}

}  // namespace
}  // namespace talvo::test
