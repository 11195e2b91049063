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
    const std::string id = "TypeLib\\" + probe::InBraces(probe::kLibrary);
    const struct {
        const char* registered;
        LCID asked;
        bool found;
    } rows[] = {{"409", 0x409, true}, {"409", 0x809, false}, {"9", 0x809, true}, {"0", 0x407, true}, {"407", 0, false}};
    for (const auto& row : rows) {
        probe::SetText(id + "\\2.3\\" + row.registered + "\\win64", "x");
        BSTR path = nullptr;
        EXPECT_EQ(QueryPathOfRegTypeLib(probe::kLibrary, 2, 3, row.asked, &path) == S_OK, row.found) << row.asked;
        SysFreeString(path);
        probe::DeleteTree(HKEY_CLASSES_ROOT, id);
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
                if (SUCCEEDED(hr)) hr = info->GetFuncDesc(7 + 9, &member);
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
