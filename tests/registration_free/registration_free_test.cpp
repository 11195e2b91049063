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
    std::wstring Name;  // "Talvo.<Name>" and "Talvo.<Name>.1"
    CLSID Class;
    IID Dual;
    const wchar_t* Member;
} kClasses[] = {
    {L"BinaryEncoding", CLSID_TalvoBinaryEncoding, IID_DTalvoBinaryEncoding, L"EncodingFormat"},
    {L"UUEncoding", CLSID_TalvoUUEncodingFormat, IID_DTalvoUUEncodingFormat, L"HeaderPermissions"},
    {L"XXEncoding", CLSID_TalvoXXEncodingFormat, IID_DTalvoXXEncodingFormat, L"HeaderPermissions"},
    {L"Base64Encoding", CLSID_TalvoBase64EncodingFormat, IID_DTalvoBase64EncodingFormat, L"EndOfLineType"},
    {L"HexaEncoding", CLSID_TalvoHexaEncodingFormat, IID_DTalvoHexaEncodingFormat, L"EndOfLineType"},
    {L"BinHexEncoding", CLSID_TalvoBinHexEncodingFormat, IID_DTalvoBinHexEncodingFormat, L"HeaderFlags"},
    {L"QuotedPrintableEncoding", CLSID_TalvoQuotedPrintableEncodingFormat, IID_DTalvoQuotedPrintableEncodingFormat,
     L"EndOfLineType"},
};

class RegistrationFree : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); }
    void TearDown() override { CoUninitialize(); }
};

bool IsRegistered(const std::wstring& name) {
    HKEY key = nullptr;
    const bool found = RegOpenKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (found) RegCloseKey(key);
    return found;
}

TEST_F(RegistrationFree, ClassesAreFoundAndServeLateBoundCalls) {
    const CLSID automation = {0x00020424, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    for (const auto& row : kClasses) {
        SCOPED_TRACE(testing::Message() << std::string(row.Name.begin(), row.Name.end()));
        wchar_t guid[64] = {};
        StringFromGUID2(row.Class, guid, 64);
        EXPECT_FALSE(IsRegistered(L"Talvo." + row.Name)) << "this proves nothing";
        EXPECT_FALSE(IsRegistered(L"CLSID\\" + std::wstring(guid))) << "this proves nothing";
        com::ComPtr<IDispatch> object;
        for (const std::wstring version : {L"", L".1"}) {
            // The system makes up a class identifier for a name of a manifest; it is good for creating.
            CLSID found{};
            EXPECT_EQ(CLSIDFromProgID((L"Talvo." + row.Name + version).c_str(), &found), S_OK);
            EXPECT_EQ(CoCreateInstance(found, nullptr, CLSCTX_INPROC_SERVER, row.Dual, object.PutVoid()), S_OK);
        }
        ASSERT_EQ(CoCreateInstance(row.Class, nullptr, CLSCTX_INPROC_SERVER, row.Dual, object.PutVoid()), S_OK);
        // Served from the type library, which the manifest places in the module.
        auto* name = const_cast<wchar_t*>(row.Member);
        DISPID member = 0;
        ASSERT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_NEUTRAL, &member), S_OK);
        DISPPARAMS none{};
        VARIANT value;
        VariantInit(&value);
        EXPECT_EQ(
            object->Invoke(member, IID_NULL, LOCALE_NEUTRAL, DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr),
            S_OK);
        VariantClear(&value);
        CLSID proxy{};
        EXPECT_EQ(CoGetPSClsid(row.Dual, &proxy), S_OK);
        EXPECT_TRUE(IsEqualGUID(proxy, automation));
    }
}

TEST_F(RegistrationFree, BytesAreConvertedAndFailuresNameTheirSource) {
    com::ComPtr<ITalvoBinaryEncoding> component;
    com::ComPtr<ITalvoEncodeData> format;
    ASSERT_EQ(CoCreateInstance(CLSID_TalvoBinaryEncoding, nullptr, CLSCTX_INPROC_SERVER, IID_ITalvoBinaryEncoding,
                               component.PutVoid()),
              S_OK);
    ASSERT_EQ(CoCreateInstance(CLSID_TalvoBase64EncodingFormat, nullptr, CLSCTX_INPROC_SERVER, IID_ITalvoEncodeData,
                               format.PutVoid()),
              S_OK);
    ASSERT_EQ(component->putref_EncodingFormat(format.Get()), S_OK);
    const BYTE bytes[] = {'a', 'b', 'c'};
    BYTE* text = nullptr;
    DWORD size = 0;
    ASSERT_EQ(component->Encode(bytes, 3, TRUE, &text, &size), S_OK);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(text), size), "YWJj");
    CoTaskMemFree(text);

    ASSERT_EQ(component->putref_EncodingFormat(nullptr), S_OK);
    EXPECT_EQ(component->Encode(bytes, 3, TRUE, &text, &size), berNoEncodingFormat);
    com::ComPtr<IErrorInfo> error;
    com::UniqueBstr source;
    ASSERT_EQ(GetErrorInfo(0, error.Put()), S_OK);
    ASSERT_EQ(error->GetSource(source.Put()), S_OK);
    EXPECT_STREQ(source.Get(), L"Talvo.BinaryEncoding.1");
}

}  // namespace
}  // namespace talvo::test
