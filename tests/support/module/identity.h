// Whether an object is one: every interface leads to every other and to a single IUnknown, alone and in an aggregate.
#pragma once

#include <vector>

#include <gtest/gtest.h>

#include "tests/support/module/module_fixture.h"
#include "tests/support/outer.h"

namespace talvo::test {

inline void ExpectOneIdentity(REFCLSID clsid, const std::vector<IID>& interfaces) {
    Outer outer(clsid);
    const auto plain = Create<IUnknown>(clsid);
    for (IUnknown* const whole : {plain.Get(), static_cast<IUnknown*>(&outer)}) {
        const bool aggregated = whole == &outer;
        for (const IID& from : interfaces) {
            com::ComPtr<IUnknown> part, outerOnly;
            ASSERT_EQ(Name(whole->QueryInterface(from, part.PutVoid())), "S_OK") << GuidText(from);
            EXPECT_EQ(outer.References, aggregated ? 2u : 1u) << GuidText(from);
            EXPECT_EQ(As<IUnknown>(part).Get(), whole) << GuidText(from);
            EXPECT_EQ(part->QueryInterface(kOuterOnly, outerOnly.PutVoid()), aggregated ? S_OK : E_NOINTERFACE);
            for (const IID& to : interfaces) {
                com::ComPtr<IUnknown> other, again;
                EXPECT_EQ(part->QueryInterface(to, other.PutVoid()), S_OK) << GuidText(from) << GuidText(to);
                EXPECT_EQ(whole->QueryInterface(to, again.PutVoid()), S_OK);
                EXPECT_EQ(other.Get(), again.Get()) << GuidText(from) << GuidText(to);
            }
        }
    }
    EXPECT_EQ(outer.References, 1u);
    // The inner object's own IUnknown: an identity apart, which knows nothing of the outer's.
    EXPECT_EQ(As<IUnknown>(outer.Inner).Get(), outer.Inner.Get());
    void* none = &none;
    EXPECT_EQ(Name(outer.Inner->QueryInterface(kOuterOnly, &none)), "E_NOINTERFACE");
    EXPECT_EQ(none, nullptr);
}

}  // namespace talvo::test
