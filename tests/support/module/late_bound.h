// Calls by name, as a script host makes them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/module/module_fixture.h"
#include "tests/support/variant.h"

namespace talvo::test {

// An argument of a call by name; one with a name of its own is given by that name.
struct Argument {
    Argument(Variant value) : Value(std::move(value)) {}
    Argument(const char* name, Variant value) : Name(name), Value(std::move(value)) {}
    std::string Name;
    Variant Value;
};

struct Outcome {
    std::string Code;
    Variant Result;
    std::string Exception;  // "source: description" of a DISP_E_EXCEPTION
    std::string Scode;
    UINT BadArgument = 99;
};

// Invokes a member by its number. Named arguments carry the numbers in `names`, as many as there are.
inline Outcome Invoke(IDispatch* object, DISPID member, WORD flags, const std::vector<Argument>& arguments,
                      std::vector<DISPID> names) {
    // Automation wants the arguments backwards, the named ones first.
    std::vector<VARIANT> values;
    const auto add = [&](bool named) {
        for (size_t i = arguments.size(); i-- > 0;) {
            if (arguments[i].Name.empty() != named) values.push_back(*arguments[i].Value.Get());
        }
    };
    add(true);
    std::vector<DISPID> reversed(names.rbegin(), names.rend());
    add(false);
    DISPPARAMS parameters = {values.data(), reversed.data(), static_cast<UINT>(values.size()),
                             static_cast<UINT>(reversed.size())};
    Outcome outcome;
    EXCEPINFO exception = {};
    outcome.Code =
        Name(object->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                            flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET) ? outcome.Result.Put() : nullptr,
                            &exception, &outcome.BadArgument));
    if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
    com::UniqueBstr source(exception.bstrSource);
    com::UniqueBstr description(exception.bstrDescription);
    com::UniqueBstr help(exception.bstrHelpFile);
    if (exception.scode != 0 || exception.wCode != 0) {
        outcome.Scode = Name(exception.scode);
        outcome.Exception = Narrow(source) + ": " + Narrow(description);
    }
    return outcome;
}

// The same by name: looks the member and its named arguments up first.
inline Outcome Call(IDispatch* object, const char* member, WORD flags, const std::vector<Argument>& arguments = {}) {
    std::vector<WideText> texts = {Widen(member)};
    for (const Argument& argument : arguments) {
        if (!argument.Name.empty()) texts.push_back(Widen(argument.Name));
    }
    std::vector<LPOLESTR> names;
    for (WideText& text : texts) names.push_back(text.data());
    std::vector<DISPID> ids(names.size(), 12345);
    const HRESULT hr =
        object->GetIDsOfNames(IID_NULL, names.data(), static_cast<UINT>(names.size()), LOCALE_USER_DEFAULT, ids.data());
    if (FAILED(hr)) {
        Outcome outcome;
        outcome.Code = Name(hr);
        return outcome;
    }
    std::vector<DISPID> named(ids.begin() + 1, ids.end());
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
        // The value of a put is an argument by this name.
        EXPECT_EQ(arguments.size(), 1u);
        return Invoke(object, ids[0], flags, {{"value", arguments[0].Value}}, {DISPID_PROPERTYPUT});
    }
    return Invoke(object, ids[0], flags, arguments, named);
}

inline Outcome CallMethod(IDispatch* object, const char* member, const std::vector<Argument>& arguments = {}) {
    return Call(object, member, DISPATCH_METHOD, arguments);
}

// Which interfaces report errors, which do not, and which the object does not have.
inline void ExpectInterfaces(IUnknown* object, const std::vector<IID>& reporting, const std::vector<IID>& silent,
                             const std::vector<IID>& missing) {
    com::ComPtr<ISupportErrorInfo> support;
    ASSERT_EQ(object->QueryInterface(IID_ISupportErrorInfo, support.PutVoid()), S_OK);
    const auto expect = [&](const std::vector<IID>& interfaces, HRESULT reports, HRESULT there) {
        for (const IID& iid : interfaces) {
            com::ComPtr<IUnknown> found;
            EXPECT_EQ(Name(object->QueryInterface(iid, found.PutVoid())), Name(there)) << GuidText(iid);
            EXPECT_EQ(found.Get() != nullptr, there == S_OK);
            EXPECT_EQ(support->InterfaceSupportsErrorInfo(iid), reports) << GuidText(iid);
        }
    };
    expect(reporting, S_OK, S_OK);
    expect(silent, S_FALSE, S_OK);
    expect(missing, S_FALSE, E_NOINTERFACE);
    EXPECT_EQ(Name(object->QueryInterface(IID_IUnknown, nullptr)), "E_POINTER");
}

}  // namespace talvo::test
