// Registering with allocations that fail: what is answered, and that it works afterwards.
#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"
#include "tests/support/module/module_fixture.h"
#include "tests/support/wine.h"

namespace talvo::test {
namespace {

// Registering reads and writes a lot: failures are tried at growing distances.
TEST(AllocationFaults, Registration) {
    for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New}) {
        size_t struck = 1;
        for (size_t n = 1; struck != 0 && !testing::Test::HasFailure(); n += n + 1) {
            SCOPED_TRACE(n);
            AllocationFaults faults;
            faults.FailNth(n, true, kind);
            const HRESULT registered = Module::Get().Register();
            faults.Disarm();
            struck = faults.Struck();
            // Out of memory as the registry says it, as Wine does for a type library, or as everybody else does.
            if (registered == HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY)) continue;
            if (registered == E_FAIL && UnderWine()) continue;
            EXPECT_EQ(Name(registered), registered == S_OK ? "S_OK" : "E_OUTOFMEMORY");
            EXPECT_TRUE(registered == S_OK || struck != 0);
        }
    }
    EXPECT_EQ(Name(Module::Get().Register()), "S_OK");
    EXPECT_TRUE(Create<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat));
}

}  // namespace
}  // namespace talvo::test
