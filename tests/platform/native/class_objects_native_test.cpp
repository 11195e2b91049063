// Class objects where the stand-in keeps to the documented answer and other implementations differ.
#include <gtest/gtest.h>

#include "tests/platform/probe.h"

namespace {

constexpr GUID kMissing = {0x583a3514, 0x73f0, 0x4318, {0xb5, 0xa6, 0x3f, 0xea, 0x8a, 0x72, 0x6a, 0xe7}};

TEST(ClassObjectsNative, ServersThatCannotServe) {
    const std::string id = "CLSID\\" + probe::GuidText(kMissing);
    const struct {
        const char* name;
        std::string file;
        HRESULT code;
    } rows[] = {
        {"no such file", probe::Narrow(probe::Beside("no_module.dll")), CO_E_DLLNOTFOUND},
        {"no entry for class objects", "kernel32.dll", CO_E_ERRORINDLL},
        {"empty name", "", REGDB_E_CLASSNOTREG},
    };
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        probe::SetText(id + "\\InprocServer32", row.file);
        void* object = nullptr;
        EXPECT_EQ(CoCreateInstance(kMissing, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object), row.code);
    }
    CoUninitialize();
    probe::DeleteTree(HKEY_CLASSES_ROOT, id);
}

TEST(ClassObjectsNative, NameThatLeadsToItsCurrentVersion) {
    probe::SetText("Probe.Current\\CurVer", "Probe.Current.3");
    CLSID clsid;
    EXPECT_EQ(CLSIDFromProgID(u"Probe.Current", &clsid), CO_E_CLASSSTRING) << "which is not registered";
    probe::SetText("Probe.Current.3\\CLSID", probe::GuidText(kMissing));
    EXPECT_EQ(CLSIDFromProgID(u"Probe.Current", &clsid), S_OK);
    EXPECT_TRUE(clsid == kMissing);
    for (const char* name : {"Probe.Current", "Probe.Current.3"}) probe::DeleteTree(HKEY_CLASSES_ROOT, name);
}

}  // namespace
