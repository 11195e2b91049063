// Where there is nothing to show an About box on, the call is answered all the same.
#include <gtest/gtest.h>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

TEST(AboutBox, WithoutAUserInterface) {
    LeaveStaleError();
    EXPECT_EQ(Create<DTalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding)->AboutBox(), S_OK);
    EXPECT_EQ(TakeError(), "none");
}

}  // namespace
}  // namespace talvo::test
