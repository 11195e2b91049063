// Type libraries where the stand-in goes beyond, or is more exact than, what runs on both sides: broken texts, names in any
// case, locales, and every allocation failing.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "tests/platform/probe.h"
#include "tests/support/allocation_faults.h"

namespace {

using talvo::test::AllocationFaults;
using talvo::test::FaultKind;

TEST(TypeLibraryNative, BrokenText) {
    const probe::Text file = probe::Beside("broken_probe.tlb");
    const std::string narrow = probe::Narrow(file.data(), file.size());
    std::ofstream(narrow) << "library";
    ITypeLib* library = reinterpret_cast<ITypeLib*>(1);
    EXPECT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library), TYPE_E_INVDATAREAD);
    EXPECT_FALSE(library);
    std::remove(narrow.c_str());
}

TEST(TypeLibraryNative, NamesInAnyCase) {
    ITypeLib* library = nullptr;
    ASSERT_EQ(LoadTypeLibEx(probe::Beside("probe.tlb").c_str(), REGKIND_NONE, &library), S_OK);
    OLECHAR name[] = u"PCGREEN";
    BOOL known = FALSE;
    EXPECT_EQ(library->IsName(name, 0, &known), S_OK);
    EXPECT_TRUE(known);
    EXPECT_EQ(probe::Text(name), u"pcGreen") << "spelt as in the library";
    library->Release();
}

// A library for a locale serves that locale, one for a language all its locales, a neutral one everybody.
TEST(TypeLibraryNative, LocaleLanguageNeutral) {
    OLECHAR id[39];
    StringFromGUID2(probe::kLibrary, id, 39);
    const probe::Text version = probe::Text(u"TypeLib\\") + id + u"\\2.3";
    const struct {
        const char16_t* registered;
        LCID asked;
        bool found;
    } rows[] = {
        {u"409", 0x409, true}, {u"409", 0x809, false}, {u"9", 0x809, true}, {u"0", 0x407, true}, {u"407", 0, false}};
    for (const auto& row : rows) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, (version + u"\\" + row.registered + u"\\win64").c_str(), 0,
                                  nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
                  0);
        RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(u"x"), 4);
        RegCloseKey(key);
        BSTR path = nullptr;
        EXPECT_EQ(QueryPathOfRegTypeLib(probe::kLibrary, 2, 3, row.asked, &path) == S_OK, row.found) << row.asked;
        SysFreeString(path);
        RegDeleteTreeW(HKEY_CLASSES_ROOT, (probe::Text(u"TypeLib\\") + id).c_str());
    }
}

// From the file to a described member, with either kind of allocation failing in turn.
TEST(TypeLibraryNative, EveryFailingAllocation) {
    const probe::Text file = probe::Beside("probe.tlb");
    for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New}) {
        talvo::test::ForEachFailingAllocation(
            [&](AllocationFaults& faults) {
                ITypeLib* library = nullptr;
                ITypeInfo* info = nullptr;
                FUNCDESC* member = nullptr;
                BSTR names[8] = {};
                UINT count = 0;
                HRESULT hr = LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library);
                if (SUCCEEDED(hr)) hr = library->GetTypeInfoOfGuid(probe::kDual, &info);
                if (SUCCEEDED(hr)) hr = info->GetFuncDesc(7 + 16, &member);
                if (SUCCEEDED(hr)) hr = info->GetNames(13, names, 8, &count);
                // The allocator's own notes may fail without harm to the block that they are about.
                const bool harmless = kind == FaultKind::New && hr == S_OK;
                EXPECT_TRUE(harmless || hr == (faults.Struck() ? E_OUTOFMEMORY : S_OK)) << hr;
                for (UINT i = 0; i < count; ++i) SysFreeString(names[i]);
                if (member) info->ReleaseFuncDesc(member);
                if (info) info->Release();
                if (library) library->Release();
            },
            kind);
    }
}

}  // namespace
