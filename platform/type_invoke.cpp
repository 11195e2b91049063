// Calls of late-bound callers: the arguments are brought into the order and the types of the member, the member is called
// through the virtual table, and what it gives back, or its error information, is handed over. Nothing is allocated here but
// by conversions, and whatever they made is freed on every path.
#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/type_info.h"

namespace platform {
namespace {

// A parameter's type as calls see it: a type that a VARIANT can hold, or a pointer to one.
struct Shape {
    VARTYPE type = VT_EMPTY;  // VT_EMPTY: cannot be passed late-bound
    bool byReference = false;
};

Shape ShapeOf(const TypeUse& use) {
    constexpr VARTYPE kPassed[] = {VT_I2, VT_I4, VT_UI4, VT_BOOL, VT_BSTR, VT_DISPATCH, VT_UNKNOWN, VT_VARIANT};
    const VARTYPE type = use.base == VT_INT ? VARTYPE{VT_I4} : use.base;
    const bool passed = std::find(std::begin(kPassed), std::end(kPassed), type) != std::end(kPassed);
    if (!passed || use.pointers > 1) return {};
    return {type, use.pointers == 1};
}

// One parameter on its way: `type` and `passed` are what the call takes, `made` is what had to be made for it.
class Passage {
public:
    ~Passage() { VariantClear(&made_); }
    Passage() = default;
    Passage(const Passage&) = delete;
    Passage& operator=(const Passage&) = delete;

    HRESULT Give(const Shape& shape, VARIANTARG* argument) {
        return shape.type == VT_VARIANT ? GiveVariant(shape, argument) : GiveValue(shape, argument);
    }

    // A place for what the member gives back.
    void GiveResultPlace(const Shape& shape) {
        if (shape.type != VT_VARIANT) made_.vt = shape.type;
        PassMade(shape);
    }
    void TakeResult(VARIANT* result) { *result = std::exchange(made_, VARIANT{}); }

    VARTYPE Type() const { return type_; }
    VARIANT* Passed() { return passed_; }

private:
    void Pass(VARTYPE type, VARIANT* value) {
        type_ = type;
        passed_ = value;
    }
    void PassPointer(VARTYPE type, void* target) {
        pointer_.vt = static_cast<VARTYPE>(type | VT_BYREF);
        pointer_.byref = target;
        Pass(pointer_.vt, &pointer_);
    }
    void PassMade(const Shape& shape) {
        if (!shape.byReference) return Pass(shape.type, &made_);
        PassPointer(shape.type, shape.type == VT_VARIANT ? static_cast<void*>(&made_) : &made_.llVal);
    }

    // A VARIANT parameter sees the caller's own VARIANT; a pointer to one also the variable that an argument refers to.
    HRESULT GiveVariant(const Shape& shape, VARIANTARG* argument) {
        if (!shape.byReference) return Pass(VT_VARIANT, argument), S_OK;
        if (argument->vt == (VT_BYREF | VT_VARIANT)) argument = argument->pvarVal;
        if (!argument) return DISP_E_TYPEMISMATCH;
        return PassPointer(VT_VARIANT, argument), S_OK;
    }

    // The argument itself, or a copy of it in the parameter's type.
    HRESULT GiveValue(const Shape& shape, VARIANTARG* argument) {
        if (argument->vt == shape.type) return Pass(shape.type, argument), S_OK;
        if (argument->vt == (VT_BYREF | VT_VARIANT)) argument = argument->pvarVal;
        if (!argument || ((argument->vt & VT_BYREF) && !argument->byref)) return DISP_E_TYPEMISMATCH;
        if (const HRESULT hr = VariantChangeType(&made_, argument, 0, shape.type); FAILED(hr)) return hr;
        return PassMade(shape), S_OK;
    }

    VARIANT made_ = {};
    VARIANT pointer_ = {};
    VARTYPE type_ = VT_EMPTY;
    VARIANT* passed_ = nullptr;
};

const Function* SelectFunction(const TypeEntry* entry, MEMBERID id, WORD flags) {
    for (; entry; entry = entry->base) {
        for (const Function& function : entry->functions) {
            const bool answers = function.result.base == VT_HRESULT && function.result.pointers == 0;
            const bool callable = answers && !(function.flags & FUNCFLAG_FRESTRICTED);
            if (function.id == id && callable && (function.kind & flags) != 0) return &function;
        }
    }
    return nullptr;
}

// Which argument goes to which parameter. Every parameter takes one.
struct Arrangement {
    VARIANTARG* arguments[kMaxParameters] = {};
    size_t count = 0;  // parameters that take arguments
};

// Arguments stand in reverse order, the named ones before all others. The value of a property is a named one.
HRESULT Arrange(const Function& function, const DISPPARAMS& given, Arrangement& arrangement, UINT* wrongArgument) {
    arrangement.count = function.parameters.size() - (function.GivesResult() ? 1 : 0);
    if (given.cArgs > arrangement.count) return DISP_E_BADPARAMCOUNT;
    bool hasValue = false;
    for (UINT i = 0; i < given.cNamedArgs; ++i) {
        const DISPID id = given.rgdispidNamedArgs[i];
        const bool isValue = function.IsPut() && id == DISPID_PROPERTYPUT;
        const size_t position = isValue ? arrangement.count - 1 : static_cast<size_t>(id);
        if ((!isValue && id < 0) || position >= arrangement.count || arrangement.arguments[position]) {
            if (wrongArgument) *wrongArgument = i;
            return DISP_E_PARAMNOTFOUND;
        }
        arrangement.arguments[position] = &given.rgvarg[i];
        hasValue = hasValue || isValue;
    }
    if (function.IsPut() && !hasValue) return DISP_E_PARAMNOTFOUND;
    if (given.cArgs < arrangement.count) return DISP_E_BADPARAMCOUNT;
    const UINT positional = given.cArgs - given.cNamedArgs;
    for (UINT i = 0; i < positional; ++i) {
        if (arrangement.arguments[i]) return DISP_E_BADPARAMCOUNT;
        arrangement.arguments[i] = &given.rgvarg[given.cArgs - 1 - i];
    }
    return S_OK;
}

HRESULT GiveParameter(const Parameter& parameter, VARIANTARG* argument, Passage& passage) {
    const Shape shape = ShapeOf(parameter.type);
    if (shape.type == VT_EMPTY) return DISP_E_BADVARTYPE;
    if (parameter.IsResult()) return passage.GiveResultPlace(shape), S_OK;
    if (shape.type == VT_VARIANT) return passage.Give(shape, argument);
    if (shape.byReference) return DISP_E_BADVARTYPE;
    const bool missing = argument->vt == VT_ERROR && argument->scode == DISP_E_PARAMNOTFOUND;
    return missing ? DISP_E_PARAMNOTOPTIONAL : passage.Give(shape, argument);
}

HRESULT ReportException(HRESULT code, EXCEPINFO* exception) {
    if (!exception) return DISP_E_EXCEPTION;
    *exception = {};
    exception->scode = code;
    IErrorInfo* info = nullptr;
    if (GetErrorInfo(0, &info) != S_OK) return DISP_E_EXCEPTION;
    info->GetDescription(&exception->bstrDescription);
    info->GetHelpFile(&exception->bstrHelpFile);
    info->GetSource(&exception->bstrSource);
    info->GetHelpContext(&exception->dwHelpContext);
    info->Release();
    return DISP_E_EXCEPTION;
}

HRESULT CallMember(const Function& function, void* instance, const Arrangement& arrangement, const DISPPARAMS& given,
                   VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) {
    const UINT count = static_cast<UINT>(function.parameters.size());
    Passage passages[kMaxParameters];
    VARTYPE types[kMaxParameters];
    VARIANTARG* values[kMaxParameters];
    for (UINT i = 0; i < count; ++i) {
        VARIANTARG* const argument = i < arrangement.count ? arrangement.arguments[i] : nullptr;
        if (const HRESULT hr = GiveParameter(function.parameters[i], argument, passages[i]); FAILED(hr)) {
            if (wrongArgument && argument) *wrongArgument = static_cast<UINT>(argument - given.rgvarg);
            return hr;
        }
        types[i] = passages[i].Type();
        values[i] = passages[i].Passed();
    }
    HRESULT answer = S_OK;
    if (!CallMethod(instance, function.slot, count, types, values, answer)) return DISP_E_BADCALLEE;
    if (FAILED(answer)) return ReportException(answer, exception);
    if (result && function.GivesResult()) passages[count - 1].TakeResult(result);
    return S_OK;
}

}  // namespace

HRESULT InvokeMember(const TypeEntry& entry, void* instance, MEMBERID id, WORD flags, DISPPARAMS& parameters,
                     VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) {
    if (result) *result = {};
    const bool lacksArguments = parameters.cArgs != 0 && !parameters.rgvarg;
    if (lacksArguments || (parameters.cNamedArgs != 0 && !parameters.rgdispidNamedArgs)) return E_INVALIDARG;
    if (parameters.cNamedArgs > parameters.cArgs) return E_INVALIDARG;
    const Function* const function = SelectFunction(&entry, id, flags);
    if (!function) return DISP_E_MEMBERNOTFOUND;
    Arrangement arrangement;
    if (const HRESULT hr = Arrange(*function, parameters, arrangement, wrongArgument); FAILED(hr)) return hr;
    return CallMember(*function, instance, arrangement, parameters, result, exception, wrongArgument);
}

}  // namespace platform
