// The six format classes as types, and one object of any of them with its properties on both interfaces.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {

// The accessors of one property on one interface, over numbers.
struct Side {
    std::function<HRESULT(int64_t*)> Get;
    std::function<HRESULT()> GetNull;
    std::function<HRESULT(int64_t)> Put;

    int64_t Value() const {
        int64_t value = -12345;
        EXPECT_EQ(Name(Get(&value)), "S_OK");
        return value;
    }
};
struct Property {
    Side Native;
    Side Dual;
};

struct FormatObject {
    const char* Class = nullptr;
    const char* ProgId = nullptr;
    IID Native = IID_NULL;
    IID Dual = IID_NULL;
    com::ComPtr<ITalvoEncodeData> Data;
    bool BeginLine = false;        // UU, XX
    bool FileInformation = false;  // BinHex
    std::map<std::string, Property> Numbers;
    // SubProcessing on the native and on the automation interface.
    std::function<HRESULT(ITalvoProcessData*)> Link;
    std::function<HRESULT(ITalvoProcessData**)> Linked;
    std::function<HRESULT(IDispatch*)> LinkDual;
    std::function<HRESULT(IDispatch**)> LinkedDual;

    bool Header() const { return BeginLine || FileInformation; }
    const Property& Number(const char* name) const { return Numbers.at(name); }
};

template <class I, class G, class P>
Side MakeSide(const com::ComPtr<I>& object, HRESULT (STDMETHODCALLTYPE I::*get)(G*),
              HRESULT (STDMETHODCALLTYPE I::*put)(P)) {
    I* const raw = object.Get();
    return {[=](int64_t* value) {
                G box;
                std::memset(&box, 0xCC, sizeof(box));
                const HRESULT hr = (raw->*get)(&box);
                *value = static_cast<int64_t>(box);
                return hr;
            },
            [=] { return (raw->*get)(nullptr); }, [=](int64_t value) { return (raw->*put)(static_cast<P>(value)); }};
}

template <class N, class D, const CLSID* ClassId>
FormatObject NewFormat(const char* name, const char* progId) {
    FormatObject made;
    made.Class = name;
    made.ProgId = progId;
    made.Native = __uuidof(N);
    made.Dual = __uuidof(D);
    made.Data = Create<ITalvoEncodeData>(*ClassId);
    const auto native = As<N>(made.Data);
    const auto dual = As<D>(made.Data);
    if (!native || !dual) return made;
    N* const n = native.Get();
    D* const d = dual.Get();
    made.Link = [n](ITalvoProcessData* processor) { return n->putref_SubProcessing(processor); };
    made.Linked = [n](ITalvoProcessData** processor) { return n->get_SubProcessing(processor); };
    made.LinkDual = [d](IDispatch* processor) { return d->putref_SubProcessing(processor); };
    made.LinkedDual = [d](IDispatch** processor) { return d->get_SubProcessing(processor); };
#define NUMBER(property)                                                                 \
    made.Numbers[#property] = {MakeSide(native, &N::get_##property, &N::put_##property), \
                               MakeSide(dual, &D::get_##property, &D::put_##property)}
    NUMBER(EndOfLineType);
    NUMBER(MaxLineLength);
    NUMBER(ContinueOnInvalidData);
    if constexpr (requires { &N::put_HeaderPermissions; }) {
        NUMBER(HeaderPermissions);
        made.BeginLine = true;
    }
    if constexpr (requires { &N::put_HeaderFlags; }) {
        NUMBER(HeaderFlags);
        NUMBER(HeaderDataForkLength);
        NUMBER(HeaderResourceForkLength);
        made.FileInformation = true;
    }
    if constexpr (requires { &N::put_IncludeHeaderFooter; }) NUMBER(IncludeHeaderFooter);
#undef NUMBER
    return made;
}

enum FormatIndex { kUU, kXX, kBase64, kHexa, kBinHex, kQuotedPrintable, kFormatCount };

inline FormatObject New(int format) {
    static constexpr struct {
        FormatObject (*Make)(const char*, const char*);
        const char* Class;
        const char* ProgId;
    } kRows[] = {
#define FORMAT(name)                                                                                             \
    {&NewFormat<ITalvo##name##EncodingFormat, DTalvo##name##EncodingFormat, &CLSID_Talvo##name##EncodingFormat>, \
     #name, "Talvo." #name "Encoding.1"}
        FORMAT(UU), FORMAT(XX), FORMAT(Base64), FORMAT(Hexa), FORMAT(BinHex), FORMAT(QuotedPrintable),
#undef FORMAT
    };
    return kRows[format].Make(kRows[format].Class, kRows[format].ProgId);
}

// Calls visit(format) with a new object of each class.
template <class Visit>
void ForEachFormat(Visit visit) {
    for (int index = 0; index < kFormatCount; ++index) {
        const FormatObject format = New(index);
        SCOPED_TRACE(format.Class);
        ASSERT_TRUE(format.Data);
        visit(format);
    }
}

// An object that can encode: some formats want a file name.
inline FormatObject NewNamed(int index) {
    FormatObject format = New(index);
    format.Data->put_HeaderFilename(Bstr("a.txt").Get());
    return format;
}

inline std::string FilenameOf(ITalvoEncodeData* format) {
    com::UniqueBstr name;
    const HRESULT hr = format->get_HeaderFilename(name.Put());
    return hr != S_OK ? Name(hr) : name ? Narrow(name) : "(null)";
}

}  // namespace talvo::test
