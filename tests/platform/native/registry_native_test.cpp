// The registry's file: where it is, what it looks like, damage, other processes.
#include <windows.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/registry_view.h"
#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using namespace talvo::test;

// A registry of its own.
class RegistryFile : public testing::Test {
protected:
    void SetUp() override {
        file_ = folder_ / "a folder" / "registry.reg";
        setenv("TALVO_REGISTRY", file_.c_str(), 1);
    }
    void TearDown() override { setenv("TALVO_REGISTRY", before_.c_str(), 1); }

    static LONG Create(const std::string& name) { return CreateKey(HKEY_CLASSES_ROOT, name); }
    static LONG Open(const std::string& name) { return OpenKey(HKEY_CLASSES_ROOT, name); }
    void Write(const std::string& text) const {
        fs::create_directories(file_.parent_path());
        Save(file_, text);
    }
    std::string Content() const { return Load(file_); }

    const std::string signature_ = "Windows Registry Editor Version 5.00\n";
    const std::string key_ = signature_ + "\n[HKEY_CLASSES_ROOT\\A]\n";
    const std::string before_ = std::getenv("TALVO_REGISTRY");
    const TempFolder folder_;
    fs::path file_;
};

TEST_F(RegistryFile, IsMadeWithItsFolderByTheFirstChange) {
    EXPECT_EQ(Open("Probe"), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(fs::exists(file_.parent_path())) << "reading makes nothing";
    SetText("Probe\\Key", "C:\\\"x\"\r\n");
    EXPECT_EQ(Content(), signature_ + "\n[HKEY_CLASSES_ROOT\\Probe\\Key]\n@=\"C:\\\\\\\"x\\\"\r\n\"\n");
}

TEST_F(RegistryFile, DamageIsReportedAndLeftAlone) {
    for (const std::string& text :
         {std::string("REGEDIT4\n"), std::string(1, '\0'), signature_ + "@=\"x\"\n", signature_ + "[HKEY_NONE\\A]\n",
          signature_ + "[HKEY_CLASSES_ROOT\\A\n", signature_ + "[HKEY_CLASSES_ROOT\\\\A]\n", key_ + "@=\"x\n",
          key_ + "@=\"\\n\"\n", key_ + "@=\"x\" y\n", key_ + "@=hex:00,\\\n", key_ + "@=\n", key_ + "@=word:1\n",
          key_ + "x=\"1\"\n", key_ + "@=\"\xFF\"\n", key_ + std::string("@=\"\0\"\n", 6), key_ + "junk\n"}) {
        SCOPED_TRACE(text);
        Write(text);
        EXPECT_EQ(Open("A"), ERROR_BADDB);
        EXPECT_EQ(Create("B"), ERROR_BADDB);
        EXPECT_EQ(Content(), text);
    }
    Write("");
    EXPECT_EQ(Create("B"), ERROR_SUCCESS) << "a file without a byte is an empty registry";
}

// Values that are no strings stay as they are, whatever is changed beside them.
TEST_F(RegistryFile, TextByOtherHands) {
    Write(
        "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n; a remark\r\n[HKEY_CLASSES_ROOT\\a b]\r\n"
        "\"n\" = dword:0000001A\r\n\"m\"=hex(7):61,00,\\\r\n  00,00,00,00\r\n@=\"first\"\r\n@=\"two\nlines\"\r\n"
        "\"\xC3\xA4\"=\"\xC3\xA4\"\r\n");
    EXPECT_EQ(GetText("A B"), "two\nlines") << "the last one counts";
    EXPECT_EQ(GetText("a b", "n"), "no value");
    HKEY key = nullptr;
    ASSERT_EQ(OpenKey(HKEY_CLASSES_ROOT, "a b", &key), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(key, u"n", nullptr, nullptr, nullptr, nullptr), ERROR_UNSUPPORTED_TYPE);
    EXPECT_EQ(SetValue(key, "n", REG_SZ + 1, Bytes("expanded")), ERROR_INVALID_PARAMETER);
    RegCloseKey(key);
    SetText("A b", "one", "N2");
    EXPECT_EQ(Content(), signature_ +
                             "\n[HKEY_CLASSES_ROOT\\a b]\n\"n\"=dword:0000001A\n\"m\"=hex(7):61,00,\\\n  00,00,00,00\n"
                             "@=\"two\nlines\"\n\"\xC3\xA4\"=\"\xC3\xA4\"\n\"N2\"=\"one\"\n");
    SetText("a b", "ours now", "M");
    EXPECT_EQ(GetText("a b", "m"), "ours now");
    Write(signature_ + "[HKEY_CLASSES_ROOT\\Elsewhere]\n");
    EXPECT_EQ(Open("Elsewhere"), ERROR_SUCCESS) << "another process's change shows";
    EXPECT_EQ(Open("A b"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryFile, WhatNoFileCanHold) {
    for (const std::string& name :
         {std::string("a\\\\b"), std::string("a\nb"), std::string(256, 'x'), std::string("\\")}) {
        EXPECT_EQ(Create(name), ERROR_INVALID_PARAMETER) << name;
    }
    EXPECT_EQ(Create(std::string(255, 'x') + "\\\xE4]b\"\\"), ERROR_SUCCESS);
    HKEY key = nullptr;
    ASSERT_EQ(CreateKey(HKEY_CLASSES_ROOT, "A", &key), ERROR_SUCCESS);
    for (const auto& text : {std::u16string(u"x"), std::u16string(u"x\0\0", 3), std::u16string(u"\xD83D\0", 2)}) {
        const std::string bytes(reinterpret_cast<const char*>(text.data()), 2 * text.size());
        EXPECT_EQ(SetValue(key, "one terminator, whole pairs", REG_SZ, bytes), ERROR_INVALID_PARAMETER);
    }
    EXPECT_EQ(SetValue(key, "line\nbreak", REG_SZ, Bytes("")), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryFile, OrderAndRoom) {
    for (const char* name : {"K\\b\\Two", "K\\B\\two", "K\\C", "K\\a"}) EXPECT_EQ(Create(name), ERROR_SUCCESS);
    HKEY key = nullptr;
    ASSERT_EQ(OpenKey(HKEY_CLASSES_ROOT, "k", &key), ERROR_SUCCESS);
    WCHAR name[8];
    for (DWORD i = 0; i < 3; ++i) {
        DWORD size = 8, small = 1;
        EXPECT_EQ(RegEnumKeyExW(key, i, name, &small, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
        EXPECT_EQ(RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
        EXPECT_EQ(Narrow({name, size}), std::string(1, "abC"[i])) << "in order, as first written";
    }
    EXPECT_EQ(RegDeleteKeyW(key, u"b"), ERROR_ACCESS_DENIED) << "it has a key below it";
    EXPECT_EQ(RegDeleteKeyW(key, u"b\\TWO"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(key, u"b\\TWO"), ERROR_FILE_NOT_FOUND);
    SetValue(key, "value", REG_SZ, Bytes("hello"));
    BYTE data[16] = {};
    for (const DWORD room : {5, 6}) {
        DWORD size = room;
        EXPECT_EQ(RegQueryValueExA(key, "VALUE", nullptr, nullptr, data, &size),
                  room < 6 ? ERROR_MORE_DATA : ERROR_SUCCESS);
        EXPECT_EQ(size, 6u);
    }
    EXPECT_STREQ(reinterpret_cast<char*>(data), "hello");
    RegCloseKey(key);
}

TEST_F(RegistryFile, ProcessesAndThreadsLoseNothing) {
    constexpr int kProcesses = 3;
    constexpr int kKeys = 25;
    ASSERT_EQ(Create("Start"), ERROR_SUCCESS);
    const auto createAll = [](char who) {
        int failed = 0;
        for (int i = 0; i < kKeys; ++i) failed += Create(who + std::to_string(i)) != ERROR_SUCCESS;
        return failed;
    };
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        if (child == 0) _exit(createAll(static_cast<char>('a' + p)));
        children.push_back(child);
    }
    std::thread thread([&] { EXPECT_EQ(createAll('t'), 0); });
    EXPECT_EQ(createAll('u'), 0);
    thread.join();
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

}  // namespace
