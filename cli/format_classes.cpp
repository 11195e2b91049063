// A format object has each property under the same name on its own interface; which ones it has, the compiler asks the
// interface.
#include "cli/format_classes.h"

#include <algorithm>

#include "cli/text.h"
#include "com/com_ptr.h"
#include "com/narrow_text.h"
#include "com/unique.h"

namespace talvo {
namespace {

// The value of the property for each of LineBreaks.
constexpr ETBEndOfLineType kEndOfLineTypes[] = {bltNone, bltCrLf, bltLf, bltCr};

// Puts options one after the other until one is refused.
template <class Properties>
class Setter {
public:
    explicit Setter(Properties* format) : format_(format) {}

    template <class Value, class Option>
    void Put(const char* name, HRESULT (STDMETHODCALLTYPE Properties::*put)(Value),
             const std::optional<Option>& value) {
        if (!value || FAILED(refusal_.result)) return;
        if (const HRESULT hr = Store(put, *value); FAILED(hr)) refusal_ = {hr, name};
    }
    Refusal Result() const { return refusal_; }

private:
    // The property's type may be signed where the option is not: the bits are what counts.
    template <class Value, class Option>
    HRESULT Store(HRESULT (STDMETHODCALLTYPE Properties::*put)(Value), const Option& value) {
        return (format_->*put)(static_cast<Value>(value));
    }
    HRESULT Store(HRESULT (STDMETHODCALLTYPE Properties::*put)(const BYTE*), const FourBytes& value) {
        return (format_->*put)(value.data());
    }
    HRESULT Store(HRESULT (STDMETHODCALLTYPE Properties::*put)(BSTR), const std::string& value) {
        const com::UniqueBstr wide = com::Widen(CP_ACP, value);
        return wide ? (format_->*put)(wide.Get()) : E_OUTOFMEMORY;
    }

    Properties* format_;
    Refusal refusal_;
};

// clang-format off
template <class P> constexpr bool kHasHeader = requires { &P::put_IncludeHeaderFooter; };
template <class P> constexpr bool kHasMode = requires { &P::put_HeaderPermissions; };
template <class P> constexpr bool kHasForks = requires { &P::put_HeaderDataForkLength; };
// clang-format on

template <class P>
Refusal SetOptions(IUnknown* object, const Stage& stage, bool tolerant) {
    com::ComPtr<P> format;
    if (const HRESULT hr = object->QueryInterface(__uuidof(P), format.PutVoid()); FAILED(hr)) return {hr};
    Setter<P> set(format.Get());
    set.Put("--line-length", &P::put_MaxLineLength, stage.lineLength);
    if (stage.lineBreaks)
        set.Put("--line-breaks", &P::put_EndOfLineType,
                std::optional(kEndOfLineTypes[static_cast<size_t>(*stage.lineBreaks)]));
    set.Put("--tolerant", &P::put_ContinueOnInvalidData, std::optional(tolerant));
    if constexpr (kHasHeader<P>) {
        set.Put("--no-header", &P::put_IncludeHeaderFooter, std::optional(!stage.noHeader));
        set.Put("--name", &P::put_HeaderFilename, stage.name);
    }
    if constexpr (kHasMode<P>) set.Put("--mode", &P::put_HeaderPermissions, stage.mode);
    if constexpr (kHasForks<P>) {
        set.Put("--type", &P::put_HeaderType, stage.type);
        set.Put("--creator", &P::put_HeaderCreator, stage.creator);
        set.Put("--flags", &P::put_HeaderFlags, stage.flags);
        set.Put("--data-length", &P::put_HeaderDataForkLength, stage.dataLength);
        set.Put("--resource-length", &P::put_HeaderResourceForkLength, stage.resourceLength);
    }
    return set.Result();
}

template <class P>
HRESULT ReadFourBytes(P* format, HRESULT (STDMETHODCALLTYPE P::*get)(BYTE**), FourBytes& bytes) {
    com::UniqueTaskBytes block;
    const HRESULT hr = (format->*get)(block.Put());
    if (SUCCEEDED(hr)) std::copy_n(block.Get(), bytes.size(), bytes.begin());
    return hr;
}

template <class P>
HRESULT ReadForks(P* format, Header::Forks& forks) {
    HRESULT hr = ReadFourBytes(format, &P::get_HeaderType, forks.type);
    if (SUCCEEDED(hr)) hr = ReadFourBytes(format, &P::get_HeaderCreator, forks.creator);
    USHORT flags = 0;
    DWORD data = 0, resource = 0;
    if (SUCCEEDED(hr)) hr = format->get_HeaderFlags(&flags);
    if (SUCCEEDED(hr)) hr = format->get_HeaderDataForkLength(&data);
    if (SUCCEEDED(hr)) hr = format->get_HeaderResourceForkLength(&resource);
    forks.flags = flags;
    forks.dataLength = static_cast<uint32_t>(data);
    forks.resourceLength = static_cast<uint32_t>(resource);
    return hr;
}

template <class P>
HRESULT ReadHeader([[maybe_unused]] IUnknown* object, [[maybe_unused]] Header& header) {
    if constexpr (!kHasHeader<P>) {
        return S_OK;
    } else {
        com::ComPtr<P> format;
        HRESULT hr = object->QueryInterface(__uuidof(P), format.PutVoid());
        com::UniqueBstr name;
        if (SUCCEEDED(hr)) hr = format->get_HeaderFilename(name.Put());
        if (SUCCEEDED(hr)) header.name = Narrow(name.Get());
        if constexpr (kHasMode<P>) {
            ETBUnixFilePermission permissions{};
            if (SUCCEEDED(hr)) hr = format->get_HeaderPermissions(&permissions);
            header.permissions = static_cast<uint32_t>(permissions);
        }
        if constexpr (kHasForks<P>) {
            if (SUCCEEDED(hr)) hr = ReadForks(format.Get(), header.forks.emplace());
        }
        return hr;
    }
}

template <class P>
HRESULT SetInner(IUnknown* object, ITalvoProcessData* inner) {
    com::ComPtr<P> format;
    const HRESULT hr = object->QueryInterface(__uuidof(P), format.PutVoid());
    return FAILED(hr) ? hr : format->putref_SubProcessing(inner);
}

#define FORMAT_CLASS(name)                                                                        \
    {                                                                                             \
        Format::name, {OLESTR("Talvo." #name "Encoding"), &CLSID_Talvo##name##EncodingFormat},    \
            &SetOptions<ITalvo##name##EncodingFormat>, &ReadHeader<ITalvo##name##EncodingFormat>, \
            &SetInner<ITalvo##name##EncodingFormat>                                               \
    }
constexpr FormatClass kClasses[] = {
    FORMAT_CLASS(UU),   FORMAT_CLASS(XX),     FORMAT_CLASS(Base64),
    FORMAT_CLASS(Hexa), FORMAT_CLASS(BinHex), FORMAT_CLASS(QuotedPrintable),
};
#undef FORMAT_CLASS

}  // namespace

const ClassName kComponentClass = {OLESTR("Talvo.BinaryEncoding"), &CLSID_TalvoBinaryEncoding};

const FormatClass& ClassOf(Format format) { return *std::ranges::find(kClasses, format, &FormatClass::format); }

}  // namespace talvo
