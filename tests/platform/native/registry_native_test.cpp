// The registry's file: where it is, what it looks like, damage, other processes, and what the real calls leave open.
#include <windows.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/registry_text.h"
#include "tests/platform/registry_access.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

// A registry of its own, and the variables as they were afterwards.
class RegistryFile : public testing::Test {
protected:
    void SetUp() override {
        for (const char* variable : kVariables) {
            const char* const value = std::getenv(variable);
            before_.emplace_back(value ? std::optional<std::string>(value) : std::nullopt);
        }
        file_ = folder_ / "a folder" / "registry.reg";
        setenv("TALVO_REGISTRY", file_.c_str(), 1);
    }
    void TearDown() override {
        for (size_t i = 0; i < std::size(kVariables); ++i) {
            if (before_[i])
                setenv(kVariables[i], before_[i]->c_str(), 1);
            else
                unsetenv(kVariables[i]);
        }
    }

    static LONG Create(const std::string& name) { return probe::CreateKey(HKEY_CLASSES_ROOT, name); }
    static LONG Open(const std::string& name) { return probe::OpenKey(HKEY_CLASSES_ROOT, name); }
    void Write(const std::string& text) const {
        fs::create_directories(file_.parent_path());
        talvo::test::Save(file_, text);
    }
    std::string Content() const { return talvo::test::Load(file_); }

    static constexpr const char* kVariables[] = {"TALVO_REGISTRY", "XDG_DATA_HOME", "HOME"};
    static constexpr const char* kSignature = "Windows Registry Editor Version 5.00\n";
    std::vector<std::optional<std::string>> before_;
    const talvo::test::TempFolder folder_;
    fs::path file_;
};

TEST_F(RegistryFile, IsMadeWithItsFolderByTheFirstChange) {
    EXPECT_EQ(Open("Probe"), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(fs::exists(file_.parent_path())) << "reading makes nothing";
    HKEY key = nullptr;
    ASSERT_EQ(probe::CreateKey(HKEY_CLASSES_ROOT, "Probe\\Key", &key), ERROR_SUCCESS);
    probe::SetValue(key, "", REG_SZ, probe::Bytes("C:\\\"x\""));
    probe::SetValue(key, "n", REG_DWORD, std::string("\x1a\0\0\0", 4));
    probe::SetValue(key, "b", REG_BINARY, "\1\2");
    RegCloseKey(key);
    EXPECT_EQ(Content(),
              std::string(kSignature) +
                  "\n[HKEY_CLASSES_ROOT\\Probe\\Key]\n@=\"C:\\\\\\\"x\\\"\"\n\"n\"=dword:0000001a\n\"b\"=hex:01,02\n");
}

TEST_F(RegistryFile, Places) {
    unsetenv("TALVO_REGISTRY");
    setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
    setenv("HOME", (folder_ / "home").c_str(), 1);
    EXPECT_EQ(Create("Probe"), ERROR_SUCCESS);
    EXPECT_TRUE(fs::exists(folder_ / "data/talvo/registry.reg"));
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(Create("Probe"), ERROR_SUCCESS);
    EXPECT_TRUE(fs::exists(folder_ / "home/.local/share/talvo/registry.reg"));
    unsetenv("HOME");
    EXPECT_EQ(Create("Probe"), ERROR_PATH_NOT_FOUND);
}

TEST_F(RegistryFile, DamageIsReportedAndLeftAlone) {
    const std::string start = kSignature;
    const std::string key = start + "[HKEY_CLASSES_ROOT\\A]\n";
    for (const std::string& text :
         {std::string("REGEDIT4\n"), std::string(1, '\0'), start + "@=\"x\"\n", start + "[HKEY_NONE\\A]\n",
          start + "[HKEY_CLASSES_ROOT\\A\n", start + "[HKEY_CLASSES_ROOT\\\\A]\n", key + "@=\"x\n", key + "@=\"\\n\"\n",
          key + "@=dword:123456789\n", key + "@=dword:\n", key + "@=hex:1,\n", key + "@=hex:100\n", key + "@=hex(:00\n",
          key + "@=hex:00,\\\n", key + "x=\"1\"\n", key + "@=\"\xFF\"\n", key + "junk\n"}) {
        SCOPED_TRACE(text);
        Write(text);
        EXPECT_EQ(Open("A"), ERROR_BADDB);
        EXPECT_EQ(Create("B"), ERROR_BADDB);
        EXPECT_EQ(Content(), text);
    }
    Write("");
    EXPECT_EQ(Create("B"), ERROR_SUCCESS) << "a file without a byte is an empty registry";
}

TEST_F(RegistryFile, TextByOtherHands) {
    Write(
        "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n; a remark\r\n[HKEY_CLASSES_ROOT\\A b]\r\n"
        "\"n\" = dword:0000001A\r\n\"m\"=hex(7):61,00,\\\r\n  00,00,00,00\r\n@=\"\xC3\xA4\"\r\n@=\"last counts\"\r\n");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CLASSES_ROOT, "a B", 0, KEY_READ, &key), ERROR_SUCCESS);
    char data[32] = {};
    DWORD size = sizeof data;
    EXPECT_EQ(RegQueryValueExA(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size), ERROR_SUCCESS);
    EXPECT_STREQ(data, "last counts");
    DWORD type = 0;
    size = sizeof data;
    EXPECT_EQ(RegQueryValueExA(key, "m", nullptr, &type, reinterpret_cast<BYTE*>(data), &size), ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
    EXPECT_EQ(std::string(data, size), std::string("a\0\0", 3));
    RegCloseKey(key);
    Write(std::string(kSignature) + "[HKEY_CLASSES_ROOT\\Elsewhere]\n");
    EXPECT_EQ(Open("Elsewhere"), ERROR_SUCCESS) << "another process's change shows";
    EXPECT_EQ(Open("A b"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryFile, EveryTreeReadsBack) {
    platform::RegistryTree tree;
    const std::u16string long16(platform::kMaxKeyName, u'k');
    bool created = false;
    for (const std::u16string& name :
         {std::u16string(u"a]b"), std::u16string(u" \"x\" = "), std::u16string(u"\u00E4\xD83D\xDE00"), long16}) {
        platform::RegistryKey& key = tree.Create(1, platform::RegistryPath{name, u"below"}, created);
        for (DWORD type : {0u, 1u, 3u, 4u, 0xFFFFFFFFu}) {
            for (size_t size : {0u, 1u, 2u, 4u, 24u, 49u}) {
                key.values.push_back({name + std::u16string(key.values.size() + 1, u'v'), type,
                                      std::vector<BYTE>(size, static_cast<BYTE>(size))});
            }
        }
    }
    const std::string text = platform::WriteRegistryText(tree);
    platform::RegistryTree again;
    ASSERT_EQ(platform::ReadRegistryText(text, again), 0u);
    EXPECT_TRUE(platform::WriteRegistryText(again) == text);
}

TEST_F(RegistryFile, NamesThatNoKeyCanHave) {
    for (const std::string& name :
         {std::string("a\\\\b"), std::string("a\nb"), std::string(256, 'x'), std::string("\\")}) {
        EXPECT_EQ(Create(name), ERROR_INVALID_PARAMETER) << name;
    }
    EXPECT_EQ(Create("ends\\"), ERROR_SUCCESS);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CLASSES_ROOT, "ends", 0, KEY_QUERY_VALUE, &key), ERROR_SUCCESS);
    EXPECT_EQ(probe::CreateKey(key, "New"), ERROR_ACCESS_DENIED);
    RegCloseKey(key);
}

TEST_F(RegistryFile, ProcessesAndThreadsLoseNothing) {
    constexpr int kProcesses = 3;
    constexpr int kKeys = 25;
    ASSERT_EQ(Create("Start"), ERROR_SUCCESS);
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        if (child == 0) {
            int failed = 0;
            for (int i = 0; i < kKeys; ++i)
                failed += Create("P" + std::to_string(p) + "-" + std::to_string(i)) != ERROR_SUCCESS;
            _exit(failed);
        }
        children.push_back(child);
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kKeys; ++i)
                EXPECT_EQ(Create("T" + std::to_string(t) + "-" + std::to_string(i)), ERROR_SUCCESS);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const std::string text = Content();
    EXPECT_EQ(std::count(text.begin(), text.end(), '['), 1 + kProcesses * kKeys + 2 * kKeys);
}

TEST_F(RegistryFile, ReplacedAsAWhole) {
    ASSERT_EQ(Create("A"), ERROR_SUCCESS);
    const fs::path real = folder_ / "real.reg";
    fs::rename(file_, real);
    fs::create_symlink(real, file_);
    chmod(real.c_str(), 0640);
    std::ofstream(real.string() + ".new") << "left by a writer that ended half-way";
    EXPECT_EQ(Create("B"), ERROR_SUCCESS);
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_EQ(static_cast<unsigned>(fs::status(real).permissions()), 0640u);
    EXPECT_FALSE(fs::exists(real.string() + ".new"));
    EXPECT_EQ(Open("A"), ERROR_SUCCESS);
}

TEST_F(RegistryFile, EveryFailingAllocation) {
    ASSERT_EQ(Create("A"), ERROR_SUCCESS);
    talvo::test::ForEachFailingAllocation(
        [&](talvo::test::AllocationFaults& faults) {
            const LONG code = Create("B");
            EXPECT_EQ(code, faults.Struck() ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS);
            faults.Disarm();
            EXPECT_EQ(Open("A"), ERROR_SUCCESS);
            EXPECT_EQ(Open("B"), code == ERROR_SUCCESS ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
            RegDeleteKeyW(HKEY_CLASSES_ROOT, u"B");
        },
        talvo::test::FaultKind::New);
}

}  // namespace
