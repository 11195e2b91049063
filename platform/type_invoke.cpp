// Calls of late-bound callers: the arguments are brought into the order and the types of the member, the member is called
// through the virtual table, and what it gives back, or its error information, is handed over. Nothing is allocated here but
// by conversions, and whatever they made is freed on every path.
#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/type_info.h"

namespace platform {
namespace {

constexpr size_t kMaxParameters = 64;

// A parameter's type as calls see it: a type that a VARIANT can hold, or a pointer to one.
struct Shape {
    VARTYPE type = VT_EMPTY;  // VT_EMPTY: cannot be passed late-bound
    bool byReference = false;
    const GUID* iid = nullptr;  // of an interface other than the two base ones
};

Shape ShapeOf(const TypeUse& use) {
    Shape shape;
    BYTE pointers = use.pointers;
    shape.type = use.base;
    switch (use.base) {
        case VT_INT:
            shape.type = VT_I4;
            break;
        case VT_UINT:
            shape.type = VT_UI4;
            break;
        case VT_HRESULT:
            shape.type = VT_ERROR;
            break;
        case VT_USERDEFINED:
            if (use.target->kind == TKIND_ENUM) {
                shape.type = VT_I4;
            } else if (pointers != 0 && use.target->kind != TKIND_RECORD) {
                shape.type = use.target->flags & TYPEFLAG_FDISPATCHABLE ? VT_DISPATCH : VT_UNKNOWN;
                shape.iid = &use.target->guid;
                --pointers;
            } else {
                shape.type = VT_EMPTY;
            }
            break;
        case VT_VOID:
        case VT_DECIMAL:
        case VT_LPSTR:
        case VT_LPWSTR:
            shape.type = VT_EMPTY;
            break;
        default:
            break;
    }
    if (pointers > 1 || use.elements != 0) shape.type = VT_EMPTY;
    shape.byReference = pointers == 1;
    return shape;
}

// Types that differ in name only, so a reference to one is a reference to the other.
VARTYPE Plain(VARTYPE type) {
    const int reference = type & VT_BYREF;
    const int value = type & ~VT_BYREF;
    if (value == VT_INT || value == VT_ERROR) return static_cast<VARTYPE>(VT_I4 | reference);
    return value == VT_UINT ? static_cast<VARTYPE>(VT_UI4 | reference) : type;
}

// One parameter on its way: `type` and `passed` are what DispCallFunc takes, `made` is what had to be made for it.
class Passage {
public:
    ~Passage() { VariantClear(&made_); }
    Passage() = default;
    Passage(const Passage&) = delete;
    Passage& operator=(const Passage&) = delete;

    HRESULT Give(const Shape& shape, VARIANTARG* argument) {
        if (shape.type == VT_VARIANT) return GiveVariant(shape, argument);
        return shape.byReference ? GiveReference(shape, argument) : GiveValue(shape, argument);
    }

    // In place of an argument that was left out.
    HRESULT GiveMissing(const Shape& shape, const VARIANT* defaultValue) {
        if (defaultValue) {
            if (const HRESULT hr = VariantCopy(&made_, const_cast<VARIANT*>(defaultValue)); FAILED(hr)) return hr;
        } else if (shape.type == VT_VARIANT) {
            made_.vt = VT_ERROR;
            made_.scode = DISP_E_PARAMNOTFOUND;
        } else {
            made_.vt = shape.type;
        }
        PassMade(shape);
        return S_OK;
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

    HRESULT GiveValue(const Shape& shape, VARIANTARG* argument) {
        if (argument->vt == shape.type && !shape.iid) return Pass(shape.type, argument), S_OK;
        if (const HRESULT hr = Make(shape, argument); FAILED(hr)) return hr;
        PassMade(shape);
        return S_OK;
    }

    // A copy of the argument in the parameter's type; of an interface pointer, the interface asked for.
    HRESULT Make(const Shape& shape, VARIANTARG* argument) {
        if (argument->vt == (VT_BYREF | VT_VARIANT)) argument = argument->pvarVal;
        if (!argument || ((argument->vt & VT_BYREF) && !argument->byref)) return DISP_E_TYPEMISMATCH;
        if (const HRESULT hr = VariantChangeType(&made_, argument, 0, shape.type); FAILED(hr)) return hr;
        if (!shape.iid || !made_.punkVal) return S_OK;
        IUnknown* wanted = nullptr;
        const HRESULT hr = made_.punkVal->QueryInterface(*shape.iid, reinterpret_cast<void**>(&wanted));
        if (FAILED(hr)) return DISP_E_TYPEMISMATCH;
        made_.punkVal->Release();
        made_.punkVal = wanted;
        return S_OK;
    }

    // A reference is passed on if it is one to the parameter's type; a variable of any type is not. Of a value the member
    // sees the argument itself, or what it converts to.
    HRESULT GiveReference(const Shape& shape, VARIANTARG* argument) {
        if (argument->vt & VT_BYREF) {
            if (Plain(argument->vt) != (Plain(shape.type) | VT_BYREF) || !argument->byref) return DISP_E_TYPEMISMATCH;
            return PassPointer(shape.type, argument->byref), S_OK;
        }
        if (argument->vt == shape.type && !shape.iid) return PassPointer(shape.type, &argument->llVal), S_OK;
        if (const HRESULT hr = Make(shape, argument); FAILED(hr)) return hr;
        return PassMade(shape), S_OK;
    }

    VARIANT made_ = {};
    VARIANT pointer_ = {};
    VARTYPE type_ = VT_EMPTY;
    VARIANT* passed_ = nullptr;
};

bool IsPut(const Function& function) {
    return function.kind == INVOKE_PROPERTYPUT || function.kind == INVOKE_PROPERTYPUTREF;
}

const Function* SelectFunction(const TypeEntry* entry, MEMBERID id, WORD flags) {
    for (; entry; entry = entry->base) {
        for (const Function& function : entry->functions) {
            const bool callable = !(function.flags & FUNCFLAG_FRESTRICTED);
            if (function.id == id && callable && (function.kind & flags) != 0) return &function;
        }
    }
    return nullptr;
}

size_t RequiredArguments(const Function& function) {
    return static_cast<size_t>(std::count_if(
        function.parameters.begin(), function.parameters.end(),
        [](const Parameter& parameter) { return (parameter.flags & (PARAMFLAG_FRETVAL | PARAMFLAG_FOPT)) == 0; }));
}

// Which argument goes to which parameter; null where none does.
struct Arrangement {
    VARIANTARG* arguments[kMaxParameters] = {};
    size_t count = 0;  // parameters that take arguments
};

// Arguments stand in reverse order, the named ones before all others. The value of a property is a named one.
HRESULT Arrange(const Function& function, const DISPPARAMS& given, Arrangement& arrangement, UINT* wrongArgument) {
    arrangement.count = function.parameters.size() - (function.GivesResult() ? 1 : 0);
    if (given.cArgs > arrangement.count) return DISP_E_BADPARAMCOUNT;
    size_t positions = arrangement.count;
    bool hasValue = false;
    for (UINT i = 0; i < given.cNamedArgs; ++i) {
        const DISPID id = given.rgdispidNamedArgs[i];
        const bool isValue = IsPut(function) && id == DISPID_PROPERTYPUT;
        const size_t position = isValue ? arrangement.count - 1 : static_cast<size_t>(id);
        if ((!isValue && id < 0) || position >= arrangement.count || arrangement.arguments[position]) {
            if (wrongArgument) *wrongArgument = i;
            return DISP_E_PARAMNOTFOUND;
        }
        arrangement.arguments[position] = &given.rgvarg[i];
        if (isValue) --positions;
        hasValue = hasValue || isValue;
    }
    if (IsPut(function) && !hasValue) return DISP_E_PARAMNOTFOUND;
    if (given.cArgs < RequiredArguments(function)) return DISP_E_BADPARAMCOUNT;
    const UINT positional = given.cArgs - given.cNamedArgs;
    if (positional > positions) return DISP_E_BADPARAMCOUNT;
    for (UINT i = 0; i < positional; ++i) {
        if (arrangement.arguments[i]) return DISP_E_BADPARAMCOUNT;
        arrangement.arguments[i] = &given.rgvarg[given.cArgs - 1 - i];
    }
    return S_OK;
}

bool IsMissing(const VARIANTARG* argument) {
    return !argument || (argument->vt == VT_ERROR && argument->scode == DISP_E_PARAMNOTFOUND);
}

HRESULT GiveParameter(const Parameter& parameter, VARIANTARG* argument, Passage& passage) {
    const Shape shape = ShapeOf(parameter.type);
    if (shape.type == VT_EMPTY) return DISP_E_BADVARTYPE;
    if (parameter.IsResult()) return passage.GiveResultPlace(shape), S_OK;
    if (IsMissing(argument)) {
        if (parameter.flags & PARAMFLAG_FOPT) return passage.GiveMissing(shape, parameter.defaultValue.get());
        if (!argument || shape.type != VT_VARIANT) return DISP_E_PARAMNOTOPTIONAL;
    }
    return passage.Give(shape, argument);
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
    VARIANT returned = {};
    const bool isResult = function.result.base == VT_HRESULT && function.result.pointers == 0;
    const VARTYPE returns = isResult                        ? static_cast<VARTYPE>(VT_ERROR)
                            : function.result.pointers != 0 ? static_cast<VARTYPE>(VT_PTR)
                                                            : function.result.base;
    const ULONG_PTR offset = static_cast<ULONG_PTR>(function.slot) * sizeof(void*);
    const HRESULT hr = DispCallFunc(instance, offset, CC_STDCALL, returns, count, types, values, &returned);
    if (FAILED(hr)) return hr;
    if (isResult && FAILED(returned.scode)) return ReportException(returned.scode, exception);
    if (!result) return S_OK;
    if (function.GivesResult()) {
        passages[count - 1].TakeResult(result);
    } else if (!isResult && returns != VT_PTR) {
        *result = returned;
    }
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

WINOLEAUTAPI DispGetIDsOfNames(ITypeInfo* ptinfo, OLECHAR** rgszNames, UINT cNames, DISPID* rgdispid) {
    return ptinfo ? ptinfo->GetIDsOfNames(rgszNames, cNames, rgdispid) : E_INVALIDARG;
}

WINOLEAUTAPI DispInvoke(void* _this, ITypeInfo* ptinfo, DISPID dispidMember, WORD wFlags, DISPPARAMS* pparams,
                        VARIANT* pvarResult, EXCEPINFO* pexcepinfo, UINT* puArgErr) {
    if (!ptinfo) return E_INVALIDARG;
    return ptinfo->Invoke(_this, dispidMember, wFlags, pparams, pvarResult, pexcepinfo, puArgErr);
}
