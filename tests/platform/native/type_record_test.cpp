// The reader of type library records: where a text is refused, and that no text harms it. And what Windows answers only
// in part: the locales that a registered library serves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "platform/type_record.h"
#include "tests/platform/probe.h"

namespace {

std::string GoodRecord() {
    std::ifstream in(probe::Narrow(probe::Beside("probe.tlb")), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(TypeRecord, RefusesWithTheLine) {
    const std::string good = GoodRecord();
    platform::RecordError error;
    ASSERT_TRUE(platform::ReadTypeRecord(good, error)) << error.line << ' ' << error.reason;
    // One change each to the record of the probe library.
    const struct {
        const char* text;
        const char* instead;
        size_t line;
        const char* reason;
    } rows[] = {
        {"library ProbeLib", "ProbeLib", 1, "\"library \" is missing"},
        {"{12D7CCF8", "{12D7", 1, "identifier"},
        {"version 2.3", "version 70000.3", 1, "too large"},
        {"{0E47AC5F", "{00000000", 27, "stands before"},
        {"interface DProbe", "interface DOther", 3, "virtual table does not follow"},
        {"enum EProbeColour", "record EProbeColour", 45, "unknown word record"},
        {"[hidden] slots", "[hidden,odd] slots", 51, "unknown word odd"},
        {"implements IUnknown", "implements INativeProbe", 52, "no base"},
        {"  slot 12 id 0x00000003 put/virtual", "  slot 14 id 0x00000003 put/virtual", 34, "out of turn"},
        {"hresult Count(i4 p", "hresult Number(i4 p", 30, "dispatch side"},
        {"bool bEnd", "boolean bEnd", 21, "unknown type boolean"},
        {"disp* ppFriend", "disp ppFriend", 31, "no place for a result"},
        {"slots 6", "slots 7", 51, "not complete"},
        {": int = 16", ": int = red", 47, "number is missing"},
        {"\"A level\"", "\"A level", 54, "unexpected at the end"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.instead);
        std::string text = good;
        text.replace(text.find(row.text), std::string(row.text).size(), row.instead);
        error = {};
        EXPECT_FALSE(platform::ReadTypeRecord(text, error));
        EXPECT_EQ(error.line, row.line) << error.reason;
        EXPECT_NE(error.reason.find(row.reason), std::string::npos) << error.reason;
    }
}

TEST(TypeRecord, StandsAnyText) {
    const std::string good = GoodRecord();
    std::mt19937 random(20);
    const auto below = [&](size_t end) { return end == 0 ? 0 : random() % end; };
    for (int round = 0; round < 3000; ++round) {
        std::string text = good;
        for (size_t edit = 1 + below(5); edit != 0 && !text.empty(); --edit) {
            const size_t at = below(text.size());
            const size_t line = text.rfind('\n', at) + 1;
            switch (below(5)) {
                case 0:
                    text[at] = static_cast<char>(text[at] ^ 1 << below(8));
                    break;
                case 1:
                    text[at] = "[](){}, \"*/-0x:=\n"[below(17)];
                    break;
                case 2:
                    text.erase(line, text.find('\n', line) + 1 - line);
                    break;
                case 3:
                    text.insert(line, text.substr(below(text.size()), below(80)));
                    break;
                default:
                    text.erase(at, below(60));
                    break;
            }
        }
        // In a block of its own size, so that a sanitizer sees a reader that goes beyond it.
        const std::unique_ptr<char[]> block(new char[text.size()]);
        std::copy(text.begin(), text.end(), block.get());
        platform::RecordError error;
        if (platform::ReadTypeRecord({block.get(), text.size()}, error)) continue;
        EXPECT_GE(error.line, 1u);
        EXPECT_FALSE(error.reason.empty());
    }
}

TEST(TypeRecord, DamagedFile) {
    const probe::Text file = probe::Beside("broken_probe.tlb");
    std::ofstream(probe::Narrow(file)) << "library";
    ITypeLib* library = reinterpret_cast<ITypeLib*>(1);
    EXPECT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library), TYPE_E_INVDATAREAD);
    EXPECT_FALSE(library);
    std::remove(probe::Narrow(file).c_str());
}

// A library for a locale serves that locale, one for a language all its locales, a neutral one everybody.
TEST(TypeRecord, LocaleLanguageNeutral) {
    const std::string id = "TypeLib\\" + probe::GuidText(probe::kLibrary);
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

}  // namespace
