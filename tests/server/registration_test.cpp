// What registering the module writes, what unregistering removes and leaves, and the type library's registration.
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/support/module/late_bound.h"
#include "tests/support/registry_view.h"
#include "tests/support/temp_folder.h"

namespace talvo::test {
namespace {

const struct {
    CLSID Class;
    std::string Name;
} kClasses[] = {
    {CLSID_TalvoBinaryEncoding, "BinaryEncoding"},
    {CLSID_TalvoUUEncodingFormat, "UUEncoding"},
    {CLSID_TalvoXXEncodingFormat, "XXEncoding"},
    {CLSID_TalvoBase64EncodingFormat, "Base64Encoding"},
    {CLSID_TalvoHexaEncodingFormat, "HexaEncoding"},
    {CLSID_TalvoBinHexEncodingFormat, "BinHexEncoding"},
    {CLSID_TalvoQuotedPrintableEncodingFormat, "QuotedPrintableEncoding"},
};

// Every key and value that the classes are to have, and no other.
RegistryTree ExpectedKeys(const std::string& module) {
    RegistryTree keys;
    for (const auto& row : kClasses) {
        const bool isControl = IsEqualCLSID(row.Class, CLSID_TalvoBinaryEncoding) != 0;
        const std::string name = "Talvo." + row.Name, versioned = name + ".1";
        const std::string clsid = GuidText(row.Class), classKey = "CLSID\\" + clsid;
        keys[versioned] = keys[name] = keys[classKey] = "Talvo" + row.Name + (isControl ? " ActiveX" : " Class");
        keys[versioned + "\\CLSID"] = keys[name + "\\CLSID"] = clsid;
        keys[name + "\\CurVer"] = keys[classKey + "\\ProgID"] = versioned;
        keys[classKey + "\\VersionIndependentProgID"] = name;
        keys[classKey + "\\Programmable"] = "-";
        keys[classKey + "\\InprocServer32"] = module;
        keys[classKey + "\\InprocServer32 : ThreadingModel"] = "Both";
        keys[classKey + "\\TypeLib"] = GuidText(LIBID_TalvoBinaryEncodingLib);
        if (!isControl) continue;
        keys[versioned + "\\Insertable"] = keys[classKey + "\\Control"] = keys[classKey + "\\Insertable"] = "-";
        keys[classKey + "\\ToolboxBitmap32"] = module + ", 101";
        keys[classKey + "\\MiscStatus"] = "0";
        keys[classKey + "\\MiscStatus\\1"] = "132497";
        keys[classKey + "\\Version"] = "1.1";
    }
    return keys;
}

RegistryTree ClassKeys() {
    RegistryTree keys;
    for (const auto& row : kClasses) {
        AddTree(keys, "Talvo." + row.Name);
        AddTree(keys, "Talvo." + row.Name + ".1");
        AddTree(keys, "CLSID\\" + GuidText(row.Class));
    }
    return keys;
}

std::string LibraryKey() { return "TypeLib\\" + GuidText(LIBID_TalvoBinaryEncodingLib); }

// The registry file, where the registry is one.
std::string RegistryFile() { return Load(std::getenv("TALVO_REGISTRY")); }

TEST(Registration, WritesTheKeysOfEveryClass) { EXPECT_EQ(ClassKeys(), ExpectedKeys(Module::Get().Path())); }

// The whole registry on Linux; on Windows a session compares it around every registration.
TEST(Registration, RoundsLeaveTheRegistryAsItWas) {
    const std::string registered = RegistryFile();
    std::string unregistered;
    for (int round = 0; round < 2; ++round) {
        for (int again = 0; again < 2; ++again) {
            EXPECT_EQ(Name(Module::Get().Unregister()), "S_OK");
            EXPECT_EQ(ClassKeys(), RegistryTree());
            if (round + again == 0) unregistered = RegistryFile();
            EXPECT_EQ(RegistryFile(), unregistered);
        }
        for (int again = 0; again < 2; ++again) {
            EXPECT_EQ(Name(Module::Get().Register()), "S_OK");
            EXPECT_EQ(RegistryFile(), registered);
        }
    }
}

TEST(Registration, LeavesWhatOthersHavePutThere) {
    const std::string otherClass = "CLSID\\{11111111-2222-3333-4444-555555555555}";
    SetText(otherClass, "Somebody else's");
    SetText("Talvo.UUEncoding.1\\shell", "mine");
    SetText("Talvo.UUEncoding\\CLSID\\note", "mine");
    SetText("CLSID\\" + GuidText(CLSID_TalvoUUEncodingFormat) + "\\Extra", "goes with its class");
    EXPECT_EQ(Name(Module::Get().Unregister()), "S_OK");
    EXPECT_EQ(ClassKeys(), (RegistryTree{{"Talvo.UUEncoding.1", "-"},
                                         {"Talvo.UUEncoding.1\\shell", "mine"},
                                         {"Talvo.UUEncoding", "-"},
                                         {"Talvo.UUEncoding\\CLSID", "-"},
                                         {"Talvo.UUEncoding\\CLSID\\note", "mine"}}));
    EXPECT_EQ(ReadTree(otherClass), (RegistryTree{{otherClass, "Somebody else's"}}));
    for (const std::string& key : {std::string("Talvo.UUEncoding.1"), std::string("Talvo.UUEncoding"), otherClass})
        EXPECT_EQ(DeleteTree(HKEY_CLASSES_ROOT, key), ERROR_SUCCESS);

    // A registration finds what is left of an older one below its class and starts that afresh.
    SetText("CLSID\\" + GuidText(CLSID_TalvoXXEncodingFormat) + "\\Stale", "from long ago");
    EXPECT_EQ(Name(Module::Get().Register()), "S_OK");
    EXPECT_EQ(ClassKeys(), ExpectedKeys(Module::Get().Path()));
}

// A second copy of the module, in a folder of its own.
class ModuleCopy : public Module {
public:
    explicit ModuleCopy(bool withHelp) {
        fs::create_directory(root_ / "bin");
        if (withHelp) fs::create_directory(root_ / "Help");
        if (!withHelp) Save(root_ / "Help", "not a folder");
        const fs::path copy = root_ / "bin" / fs::path(Module::Get().Path()).filename();
        fs::copy_file(Module::Get().Path(), copy);
        EXPECT_TRUE(Load(copy.string()));
    }
    ~ModuleCopy() {
        EXPECT_TRUE(CanUnload());
        EXPECT_TRUE(FreeLibrary(Handle()));
    }

    template <class Interface>
    com::ComPtr<Interface> New(REFCLSID clsid) const {
        com::ComPtr<IClassFactory> factory;
        com::ComPtr<Interface> object;
        EXPECT_EQ(ClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(Interface), object.PutVoid()), S_OK);
        return object;
    }

private:
    const TempFolder root_;
};

TEST(Registration, TheTypeLibraryIsRegisteredWithItsHelpFolder) {
    for (const bool withHelp : {false, true}) {
        {
            const ModuleCopy copy(withHelp);
            ASSERT_EQ(Name(copy.Register()), "S_OK");
            EXPECT_EQ(ClassKeys(), ExpectedKeys(copy.Path()));
            com::UniqueBstr path;
            EXPECT_EQ(QueryPathOfRegTypeLib(LIBID_TalvoBinaryEncodingLib, 1, 1, 1033, path.Put()), S_OK);
            EXPECT_EQ(Narrow({path.Get(), WideText(path.Get()).size()}), copy.Path());
            RegistryTree library = ReadTree(LibraryKey());
            EXPECT_EQ(library[LibraryKey() + "\\1.1"], "Talvo Binary Encoding 1.1 Type Library");
            const fs::path folder = fs::path(copy.Path()).parent_path();
            EXPECT_EQ(library[LibraryKey() + "\\1.1\\HELPDIR"],
                      (withHelp ? folder.parent_path() / "Help" : folder).string());
        }
        EXPECT_EQ(Name(Module::Get().Register()), "S_OK");
    }
}

// Without its type library a module serves native callers and nobody else; registered, it serves all, at once.
TEST(Registration, LateBoundCallsNeedTheTypeLibrary) {
    const ModuleCopy copy(false);  // nobody has loaded its type information yet
    ASSERT_EQ(Name(Module::Get().Unregister()), "S_OK");
    const auto format = copy.New<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat);
    const auto dual = As<DTalvoBase64EncodingFormat>(format);
    EXPECT_EQ(Call(dual.Get(), "MaxLineLength", DISPATCH_PROPERTYGET).Code, "TYPE_E_LIBNOTREGISTERED");
    EXPECT_EQ(Invoke(dual.Get(), 1402, DISPATCH_PROPERTYGET, {}, {}).Code, "TYPE_E_LIBNOTREGISTERED");
    EXPECT_EQ(Process(format.Get(), "ABC", true).Bytes, "QUJD");

    // A component comes without its default format, and takes one.
    const auto component = copy.New<ITalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
    com::ComPtr<ITalvoEncodeData> held;
    EXPECT_EQ(Name(component->get_EncodingFormat(held.Put())), "S_OK");
    EXPECT_EQ(held.Get(), nullptr);
    EXPECT_EQ(component->putref_EncodingFormat(format.Get()), S_OK);

    ASSERT_EQ(Name(Module::Get().Register()), "S_OK");
    EXPECT_EQ(Call(dual.Get(), "MaxLineLength", DISPATCH_PROPERTYGET).Result.Show(), "i4:0");
}

}  // namespace
}  // namespace talvo::test
