// Every class as the inner object of an aggregate.
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

// {0e1f5a39-...}: an interface of the outer object that no class of ours knows.
constexpr IID kOuterOnly = {0x0e1f5a39, 0x7c1d, 0x4f6e, {0x8a, 0x11, 0x5b, 0x0c, 0x92, 0x3e, 0x4d, 0x70}};

class Outer final : public IUnknown {
public:
    explicit Outer(bool* gone) : gone_(gone) {}
    HRESULT CreateInner(REFCLSID clsid) {
        return CoCreateInstance(clsid, this, CLSCTX_INPROC_SERVER, IID_IUnknown, inner_.PutVoid());
    }
    IUnknown* Inner() const { return inner_.Get(); }
    ULONG References() const { return references_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, kOuterOnly)) return inner_->QueryInterface(iid, object);
        *object = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            references_ = 1000;  // the inner object's end may touch its outer once more
            delete this;
        }
        return left;
    }

private:
    ~Outer() { *gone_ = true; }
    bool* gone_;
    ULONG references_ = 1;
    com::ComPtr<IUnknown> inner_;
};

const struct {
    const char* Name;
    CLSID Class;
    std::vector<IID> Interfaces;
} kClasses[] = {
    {"component",
     CLSID_TalvoBinaryEncoding,
     {IID_DTalvoBinaryEncoding, IID_IDispatch, IID_ITalvoBinaryEncoding, IID_ISupportErrorInfo}},
#define FORMAT(name)                                                                                                 \
    {                                                                                                                \
#name, CLSID_Talvo##name##EncodingFormat, {                                                                  \
            IID_DTalvo##name##EncodingFormat, IID_IDispatch, IID_ITalvo##name##EncodingFormat, IID_ITalvoEncodeData, \
                IID_ITalvoProcessData, IID_ISupportErrorInfo                                                         \
        }                                                                                                            \
    }
    FORMAT(UU),
    FORMAT(XX),
    FORMAT(Base64),
    FORMAT(Hexa),
    FORMAT(BinHex),
    FORMAT(QuotedPrintable),
#undef FORMAT
};

TEST(Aggregation, InnerInterfacesBelongToTheOuterObject) {
    for (const auto& row : kClasses) {
        SCOPED_TRACE(row.Name);
        bool gone = false;
        com::ComPtr<Outer> outer;
        outer.Attach(new Outer(&gone));
        ASSERT_EQ(Name(outer->CreateInner(row.Class)), "S_OK");
        EXPECT_EQ(outer->References(), 1u);  // the inner object does not count on its outer
        for (const IID& iid : row.Interfaces) {
            com::ComPtr<IUnknown> part;
            ASSERT_EQ(Name(outer->QueryInterface(iid, part.PutVoid())), "S_OK") << GuidText(iid);
            EXPECT_EQ(outer->References(), 2u);
            EXPECT_EQ(As<IUnknown>(part).Get(), static_cast<IUnknown*>(outer.Get()));
            com::ComPtr<IUnknown> outerOnly;
            EXPECT_EQ(part->QueryInterface(kOuterOnly, outerOnly.PutVoid()), S_OK);
            EXPECT_EQ(outerOnly.Get(), static_cast<IUnknown*>(outer.Get()));
            for (const IID& other : row.Interfaces) {
                com::ComPtr<IUnknown> sibling;
                EXPECT_EQ(part->QueryInterface(other, sibling.PutVoid()), S_OK);
            }
            part->AddRef();
            EXPECT_EQ(outer->References(), 4u);
            part->Release();
        }
        // The inner object's own IUnknown: an identity apart, which knows nothing of the outer's.
        com::ComPtr<IUnknown> inner;
        EXPECT_EQ(outer->Inner()->QueryInterface(IID_IUnknown, inner.PutVoid()), S_OK);
        EXPECT_EQ(inner.Get(), outer->Inner());
        EXPECT_NE(inner.Get(), static_cast<IUnknown*>(outer.Get()));
        void* none = &none;
        EXPECT_EQ(Name(inner->QueryInterface(kOuterOnly, &none)), "E_NOINTERFACE");
        EXPECT_EQ(outer->References(), 1u);

        inner.Reset();
        outer.Reset();
        EXPECT_TRUE(gone);
        EXPECT_TRUE(Module::Get().CanUnload());
    }
}

TEST(Aggregation, AnyFirstInterfaceButIUnknownIsRefused) {
    bool gone = false;
    com::ComPtr<Outer> outer;
    outer.Attach(new Outer(&gone));
    for (const auto& row : kClasses) {
        com::ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module::Get().ClassObject(row.Class, IID_IClassFactory, factory.PutVoid()), S_OK);
        for (const IID& iid : row.Interfaces) {
            void* none = &none;
            EXPECT_EQ(Name(factory->CreateInstance(outer.Get(), iid, &none)), "CLASS_E_NOAGGREGATION");
            EXPECT_EQ(none, nullptr);
        }
        EXPECT_EQ(Name(factory->CreateInstance(outer.Get(), IID_IUnknown, nullptr)), "E_POINTER");
    }
}

// An aggregated format in the chain of another is its outer object to the world, and works.
TEST(Aggregation, AnAggregatedFormatConverts) {
    bool gone = false;
    com::ComPtr<Outer> outer;
    outer.Attach(new Outer(&gone));
    ASSERT_EQ(outer->CreateInner(CLSID_TalvoBase64EncodingFormat), S_OK);
    const auto inner = As<ITalvoProcessData>(outer);
    const auto format = Create<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat);
    ASSERT_EQ(As<ITalvoBase64EncodingFormat>(format)->putref_SubProcessing(inner.Get()), S_OK);
    EXPECT_EQ(Process(format.Get(), "ABC", true).Bytes, "UVVKRA==");
    EXPECT_EQ(Name(As<ITalvoBase64EncodingFormat>(outer)->putref_SubProcessing(format.Get())), "E_INVALIDARG");
}

}  // namespace
}  // namespace talvo::test
