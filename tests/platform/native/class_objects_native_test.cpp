// Class objects where the stand-in keeps to the documented answer and other implementations differ.
#include <gtest/gtest.h>

#include "tests/platform/probe.h"

namespace {

constexpr GUID kMissing = {0x583a3514, 0x73f0, 0x4318, {0xb5, 0xa6, 0x3f, 0xea, 0x8a, 0x72, 0x6a, 0xe7}};

void SetDefault(const probe::Text& name, const probe::Text& value) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), 0);
    EXPECT_EQ(RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                             static_cast<DWORD>((value.size() + 1) * sizeof(OLECHAR))),
              0);
    RegCloseKey(key);
}

TEST(ClassObjectsNative, ServersThatCannotServe) {
    OLECHAR id[39];
    StringFromGUID2(kMissing, id, 39);
    const probe::Text server = probe::Text(u"CLSID\\") + id + u"\\InprocServer32";
    const struct {
        const char* name;
        probe::Text file;
        HRESULT code;
    } rows[] = {
        {"no such file", probe::Beside("no_module.dll"), CO_E_DLLNOTFOUND},
        {"no entry for class objects", u"kernel32.dll", CO_E_ERRORINDLL},
        {"empty name", u"", REGDB_E_CLASSNOTREG},
    };
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SetDefault(server, row.file);
        void* object = nullptr;
        EXPECT_EQ(CoCreateInstance(kMissing, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object), row.code);
    }
    CoUninitialize();
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (probe::Text(u"CLSID\\") + id).c_str());
}

TEST(ClassObjectsNative, NameThatLeadsToItsCurrentVersion) {
    OLECHAR id[39];
    StringFromGUID2(kMissing, id, 39);
    SetDefault(u"Probe.Current\\CurVer", u"Probe.Current.3");
    CLSID clsid;
    EXPECT_EQ(CLSIDFromProgID(u"Probe.Current", &clsid), CO_E_CLASSSTRING) << "which is not registered";
    SetDefault(u"Probe.Current.3\\CLSID", id);
    EXPECT_EQ(CLSIDFromProgID(u"Probe.Current", &clsid), S_OK);
    EXPECT_TRUE(clsid == kMissing);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, u"Probe.Current");
    RegDeleteTreeW(HKEY_CLASSES_ROOT, u"Probe.Current.3");
}

}  // namespace
