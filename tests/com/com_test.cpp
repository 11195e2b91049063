// Owners, counted references, and the identity of objects, plain and aggregated.
#include <windows.h>
#include <oaidl.h>
#include <objbase.h>

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "com/com_ptr.h"
#include "com/module_state.h"
#include "com/object.h"
#include "com/unique.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/outer.h"

namespace talvo::test {
namespace {

using com::ComPtr;

class ModuleEnvironment : public testing::Environment {
    void SetUp() override { com::ModuleState::Start(nullptr, {}); }
    void TearDown() override {
        EXPECT_FALSE(com::ModuleState::Get().InUse());
        com::ModuleState::Stop(true);
    }
};
[[maybe_unused]] testing::Environment* const g_module = testing::AddGlobalTestEnvironment(new ModuleEnvironment);

int g_finalReleases = 0;
int g_destructions = 0;
HRESULT g_construction = S_OK;

class Sample : public com::Object<ISupportErrorInfo> {
public:
    explicit Sample(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT FinalConstruct() noexcept { return g_construction; }
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) noexcept override { return S_OK; }

protected:
    ~Sample() override { ++g_destructions; }
    IUnknown* Find(REFIID iid) noexcept override { return FindAmong<ISupportErrorInfo>(this, iid); }
    // What a clean-up may do: look itself up, take references and give them back, down to what looks like the last.
    void FinalRelease() noexcept override {
        ++g_finalReleases;
        ComPtr<ISupportErrorInfo> value;
        EXPECT_EQ(Identity()->QueryInterface(__uuidof(ISupportErrorInfo), value.PutVoid()), S_OK);
        Identity()->AddRef();
        Identity()->Release();
    }
};

struct ObjectTest : testing::Test {
    void SetUp() override {
        g_finalReleases = g_destructions = 0;
        g_construction = S_OK;
    }
    static bool Alive() { return com::ModuleState::Get().InUse(); }
    // It has ended, once, whatever its clean-up does.
    static void ExpectEnd(IUnknown* last) {
        EXPECT_TRUE(Alive() && g_destructions == 0);
        EXPECT_EQ(last->Release(), 0u);
        EXPECT_TRUE(g_finalReleases == 1 && g_destructions == 1 && !Alive());
    }
};

// Which interface leads to which other is asked of the module's classes; here it is when an object ends.
TEST_F(ObjectTest, EndsOnceAloneAndInAnAggregate) {
    ComPtr<ISupportErrorInfo> alone;
    ASSERT_EQ(com::CreateObject<Sample>(nullptr, __uuidof(ISupportErrorInfo), alone.PutVoid()), S_OK);
    EXPECT_EQ(alone->AddRef(), 2u);
    EXPECT_EQ(alone->Release(), 1u);
    EXPECT_EQ(alone->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
    ExpectEnd(alone.Detach());

    SetUp();
    Outer outer;
    ASSERT_EQ(com::CreateObject<Sample>(&outer, __uuidof(IUnknown), outer.Inner.PutVoid()), S_OK);
    {
        ComPtr<ISupportErrorInfo> value;
        ASSERT_EQ(outer.QueryInterface(__uuidof(ISupportErrorInfo), value.PutVoid()), S_OK);
        EXPECT_EQ(value->AddRef(), 3u);
        EXPECT_EQ(value->Release(), 2u);
    }
    EXPECT_EQ(outer.References, 1u) << "an inner object holds no reference to its outer";
    ExpectEnd(outer.Inner.Detach());
}

TEST_F(ObjectTest, CreationThatFailsLeavesNothing) {
    AllocationFaults faults;
    void* object = nullptr;
    EXPECT_EQ(com::CreateObject<Sample>(nullptr, __uuidof(IDispatch), &object), E_NOINTERFACE);
    g_construction = E_ACCESSDENIED;
    EXPECT_EQ(com::CreateObject<Sample>(nullptr, __uuidof(ISupportErrorInfo), &object), E_ACCESSDENIED);
    EXPECT_TRUE(!object && !Alive() && faults.Live() == 0 && g_destructions == 2);
    faults.FailNth(1);
    EXPECT_EQ(com::CreateObject<Sample>(nullptr, __uuidof(ISupportErrorInfo), &object), E_OUTOFMEMORY);
    EXPECT_TRUE(!object && !Alive() && g_destructions == 2);
}

TEST_F(ObjectTest, CountedReferences) {
    Outer one, two;
    {
        ComPtr<IUnknown> a(&one), b = a, c = std::move(a);
        EXPECT_TRUE(one.References == 3 && !a && b && c);
        auto& alias = a = c;
        a = alias;
        EXPECT_EQ(one.References, 4u);
        b = ComPtr<IUnknown>(&two);
        EXPECT_TRUE(one.References == 3 && two.References == 2);
        b = std::move(c);
        EXPECT_TRUE(one.References == 3 && two.References == 1 && !c);
        two.AddRef();
        a.Attach(&two);
        EXPECT_TRUE(one.References == 2 && two.References == 2);
        *a.Put() = nullptr;
        b.Detach()->Release();
        EXPECT_TRUE(!b && one.References == 1 && two.References == 1);
    }
}

std::vector<int> g_closed;
struct NumberTraits {
    using Value = int;
    static constexpr Value Null() noexcept { return -1; }
    static void Close(Value value) noexcept { g_closed.push_back(value); }
};

TEST(Unique, ClosesEachValueOnce) {
    using Owner = com::UniqueAny<NumberTraits>;
    g_closed.clear();
    {
        Owner a(0), b(1), c;
        EXPECT_TRUE(a && b && !c && a.Get() == 0);
        b = std::move(a);
        EXPECT_TRUE(!a && b.Get() == 0 && g_closed == std::vector{1});
        auto& alias = b;
        b = std::move(alias);
        *b.Put() = 2;
        EXPECT_EQ(g_closed, (std::vector{1, 0}));
        EXPECT_EQ(b.Detach(), 2);
        b.Reset(3);
        b.Reset(4);
        EXPECT_EQ(g_closed, (std::vector{1, 0, 3}));
        const Owner d(std::move(b));
    }
    EXPECT_EQ(g_closed, (std::vector{1, 0, 3, 4}));
}

}  // namespace
}  // namespace talvo::test
