// VARIANTs that tests hand in and take out, and calls by name as a script host makes them.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {

// Owns what it holds.
class Variant {
public:
    Variant() { VariantInit(&value_); }
    Variant(const Variant& other) : Variant() { VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)); }
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(&value_); }

    static Variant Bytes(std::string_view bytes, LONG lower = 0) {
        Variant made;
        V_VT(&made.value_) = VT_ARRAY | VT_UI1;
        V_ARRAY(&made.value_) = SafeArrayCreateVector(VT_UI1, lower, static_cast<ULONG>(bytes.size()));
        if (!bytes.empty()) std::memcpy(V_ARRAY(&made.value_)->pvData, bytes.data(), bytes.size());
        return made;
    }
    static Variant Text(std::string_view ascii) {
        Variant made;
        V_VT(&made.value_) = VT_BSTR;
        V_BSTR(&made.value_) = Bstr(ascii).Detach();
        return made;
    }
    static Variant Number(LONG number) {
        Variant made;
        V_VT(&made.value_) = VT_I4;
        V_I4(&made.value_) = number;
        return made;
    }
    static Variant Bool(bool value) {
        Variant made;
        V_VT(&made.value_) = VT_BOOL;
        V_BOOL(&made.value_) = value ? VARIANT_TRUE : VARIANT_FALSE;
        return made;
    }
    static Variant Object(IDispatch* object) {
        Variant made;
        V_VT(&made.value_) = VT_DISPATCH;
        V_DISPATCH(&made.value_) = object;
        if (object) object->AddRef();
        return made;
    }

    VARIANT* Get() { return &value_; }
    const VARIANT* Get() const { return &value_; }
    VARIANT* Put() {
        VariantClear(&value_);
        return &value_;
    }

    // As text: "(empty)", "bytes ..." for a byte array as results have it (lower bound 0), "text ...", "number ...",
    // "true", "false", "object"; anything else is its type's number.
    std::string Show() const {
        switch (V_VT(&value_)) {
            case VT_EMPTY:
                return "(empty)";
            case VT_BSTR:
                return "text " + Narrow({V_BSTR(&value_), SysStringLen(V_BSTR(&value_))});
            case VT_I4:
                return "number " + std::to_string(V_I4(&value_));
            case VT_I2:
                return "short " + std::to_string(V_I2(&value_));
            case VT_BOOL:
                return V_BOOL(&value_) == VARIANT_TRUE ? "true" : V_BOOL(&value_) ? "(bad true)" : "false";
            case VT_DISPATCH:
                return V_DISPATCH(&value_) ? "object" : "nothing";
            case VT_ARRAY | VT_UI1:
                return ShowArray(V_ARRAY(&value_));
            default:
                return "type " + std::to_string(V_VT(&value_));
        }
    }

private:
    static std::string ShowArray(SAFEARRAY* array) {
        LONG lower = -1;
        LONG upper = -1;
        SafeArrayGetLBound(array, 1, &lower);
        SafeArrayGetUBound(array, 1, &upper);
        if (SafeArrayGetDim(array) != 1 || SafeArrayGetElemsize(array) != 1 || lower != 0 || array->cLocks != 0)
            return "(bad array)";
        return "bytes " + std::string(static_cast<const char*>(array->pvData), static_cast<size_t>(upper + 1));
    }

    VARIANT value_;
};

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
        outcome.Exception = Narrow({source.Get(), SysStringLen(source.Get())}) + ": " +
                            Narrow({description.Get(), SysStringLen(description.Get())});
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
