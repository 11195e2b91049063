// Entry of the test programs that use the module: it is loaded and registered first, unregistered last, and no test may
// leave an object of it alive.
#include <gtest/gtest.h>

#include "tests/support/module/module_fixture.h"

namespace {

using talvo::test::Module;

class LiveObjectCheck final : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        SetErrorInfo(0, nullptr);
        EXPECT_TRUE(Module::Get().CanUnload()) << "an object of the module outlives its test";
    }
};

int RunTests() {
    if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (!Module::Get().Start()) return 2;
    testing::UnitTest::GetInstance()->listeners().Append(new LiveObjectCheck);
    const int result = RUN_ALL_TESTS();
    const bool stopped = Module::Get().Stop();
    CoUninitialize();
    return stopped ? result : 3;
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RunTests();
}
