// A program whose manifest names ours creates the classes with nothing registered. The system then answers everything
// that it otherwise looks up in the registry from the manifest: classes, names, type library, proxies.
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>

#include "TalvoBinaryEncoding.h"
#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo::test {
namespace {

const struct {
    std::wstring Name;
    CLSID Class;
    IID Dual;
} kClasses[] = {
    {L"BinaryEncoding", CLSID_TalvoBinaryEncoding, IID_DTalvoBinaryEncoding},
    {L"UUEncoding", CLSID_TalvoUUEncodingFormat, IID_DTalvoUUEncodingFormat},
    {L"XXEncoding", CLSID_TalvoXXEncodingFormat, IID_DTalvoXXEncodingFormat},
    {L"Base64Encoding", CLSID_TalvoBase64EncodingFormat, IID_DTalvoBase64EncodingFormat},
    {L"HexaEncoding", CLSID_TalvoHexaEncodingFormat, IID_DTalvoHexaEncodingFormat},
    {L"BinHexEncoding", CLSID_TalvoBinHexEncodingFormat, IID_DTalvoBinHexEncodingFormat},
    {L"QuotedPrintableEncoding", CLSID_TalvoQuotedPrintableEncodingFormat, IID_DTalvoQuotedPrintableEncodingFormat},
};

TEST(RegistrationFree, ClassesAreFoundServeLateBoundCallsAndNameThemselves) {
    const CLSID automation = {0x00020424, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    for (const auto& row : kClasses) {
        SCOPED_TRACE(testing::Message() << std::string(row.Name.begin(), row.Name.end()));
        for (const std::wstring version : {L"", L".1"}) {
            const std::wstring progId = L"Talvo." + row.Name + version;
            HKEY key = nullptr;
            EXPECT_NE(RegOpenKeyExW(HKEY_CLASSES_ROOT, progId.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS)
                << "this proves nothing";
            // The system makes up a class identifier for a name of a manifest; it is good for creating.
            CLSID found{};
            com::ComPtr<IDispatch> object;
            EXPECT_EQ(CLSIDFromProgID(progId.c_str(), &found), S_OK);
            EXPECT_EQ(CoCreateInstance(found, nullptr, CLSCTX_INPROC_SERVER, row.Dual, object.PutVoid()), S_OK);
        }
        com::ComPtr<IDispatch> object;
        ASSERT_EQ(CoCreateInstance(row.Class, nullptr, CLSCTX_INPROC_SERVER, row.Dual, object.PutVoid()), S_OK);
        // Served from the type library, which the manifest places in the module.
        std::wstring member = &row == kClasses ? L"EncodingFormat" : L"EndOfLineType";
        LPOLESTR name = member.data();
        DISPID id = 0;
        EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_NEUTRAL, &id), S_OK);
        CLSID proxy{};
        EXPECT_EQ(CoGetPSClsid(row.Dual, &proxy), S_OK);
        EXPECT_TRUE(IsEqualGUID(proxy, automation));
    }
    // The source of a failure is looked up too.
    com::ComPtr<ITalvoBinaryEncoding> component;
    com::ComPtr<IErrorInfo> error;
    com::UniqueBstr source;
    ASSERT_EQ(CoCreateInstance(CLSID_TalvoBinaryEncoding, nullptr, CLSCTX_INPROC_SERVER, IID_ITalvoBinaryEncoding,
                               component.PutVoid()),
              S_OK);
    EXPECT_EQ(component->Encode(nullptr, 0, TRUE, nullptr, nullptr), E_POINTER);
    ASSERT_EQ(GetErrorInfo(0, error.Put()), S_OK);
    EXPECT_EQ(error->GetSource(source.Put()), S_OK);
    EXPECT_STREQ(source.Get(), L"Talvo.BinaryEncoding.1");
    error.Reset();
    component.Reset();
    CoUninitialize();
}

}  // namespace
}  // namespace talvo::test
