// Admission, conversion and reset of a format object.
#include "formats/format_base.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "formats/sub_processing.h"

namespace talvo {

// From admission to return of one call. It ends the session's ownership unless the conversion goes on.
class EncodingFormatBase::CallGuard {
public:
    explicit CallGuard(EncodingFormatBase& format) noexcept : format_(format) {}
    ~CallGuard() {
        std::lock_guard hold(format_.lock_);
        format_.busy_ = false;
        if (closeAtEnd_) format_.CloseSession();
    }
    CallGuard(const CallGuard&) = delete;
    CallGuard& operator=(const CallGuard&) = delete;

    void KeepOpen() noexcept { closeAtEnd_ = false; }

private:
    EncodingFormatBase& format_;
    bool closeAtEnd_ = true;
};

EncodingFormatBase::EncodingFormatBase(FormatKind kind, const CLSID& classId) noexcept : classId_(classId) {
    session_.HeaderLock = &lock_;
    static_cast<void>(session_.SelectFormat(kind));  // a new session is idle
}

HRESULT EncodingFormatBase::EnterCall(SessionOwner operation) noexcept {
    std::lock_guard hold(lock_);
    if (busy_) return berBusy;
    if (owner_ != SessionOwner::None && owner_ != operation) return berSessionOpened;
    owner_ = operation;
    busy_ = true;
    return S_OK;
}

void EncodingFormatBase::CloseSession() noexcept {
    busy_ = false;
    owner_ = SessionOwner::None;
}

com::ComPtr<ITalvoProcessData> EncodingFormatBase::SubProcessor() noexcept {
    std::lock_guard hold(lock_);
    return subProcessor_;
}

HRESULT EncodingFormatBase::ProcessData(const BYTE* source, DWORD size, LONG end, BYTE** out, DWORD* outSize) noexcept {
    if (!out || !outSize) return E_POINTER;
    *out = nullptr;
    *outSize = 0;
    if (!source && size != 0) return E_POINTER;
    if (const HRESULT hr = EnterCall(SessionOwner::Process); FAILED(hr)) return hr;
    CallGuard guard(*this);

    const com::ComPtr<ITalvoProcessData> processor = SubProcessor();
    SubOutput processed;
    ByteSpan bytes(source, size);
    if (processor) {
        if (const HRESULT hr = ProcessThrough(*processor.Get(), bytes, end, processed, bytes); FAILED(hr)) return hr;
    }
    const HRESULT hr = session_.EncodeChunk(bytes.data(), static_cast<uint32_t>(bytes.size()), end != 0, out, outSize);
    if (end == 0) guard.KeepOpen();
    return hr;
}

HRESULT EncodingFormatBase::RevertData(const BYTE* source, DWORD size, LONG end, BYTE** out, DWORD* outSize,
                                       DWORD* consumed) noexcept {
    if (!out || !outSize || !consumed) return E_POINTER;
    *out = nullptr;
    *outSize = 0;
    *consumed = 0;
    if (!source && size != 0) return E_POINTER;
    if (const HRESULT hr = EnterCall(SessionOwner::Revert); FAILED(hr)) return hr;
    CallGuard guard(*this);
    const com::ComPtr<ITalvoProcessData> processor = SubProcessor();

    SubOutput decoded;
    HRESULT result = session_.DecodeChunk(source, size, end != 0, decoded.Bytes.Put(), &decoded.Size);
    if (FAILED(result)) return result;
    *consumed = size;
    if (processor) {
        result = RevertThrough(*processor.Get(), end, decoded);
        if (FAILED(result)) return result;
    }
    *out = decoded.Bytes.Detach();
    *outSize = decoded.Size;
    if (end == 0) guard.KeepOpen();
    return result;
}

HRESULT EncodingFormatBase::ResetData() noexcept {
    std::lock_guard hold(lock_);
    if (busy_) return berBusy;
    if (subProcessor_) static_cast<void>(subProcessor_->Reset());
    session_.ResetSession();
    CloseSession();
    return S_OK;
}

HRESULT EncodingFormatBase::CopyName(com::UniqueBstr EncodingSession::*field, BSTR* out) noexcept {
    std::lock_guard hold(lock_);
    BSTR const name = (session_.*field).Get();
    *out = SysAllocStringLen(name, SysStringLen(name));
    return *out ? S_OK : E_OUTOFMEMORY;
}

void EncodingFormatBase::CopyFour(FourBytes EncodingSession::*field, BYTE* out) noexcept {
    std::lock_guard hold(lock_);
    std::memcpy(out, session_.*field, sizeof(FourBytes));
}

HRESULT EncodingFormatBase::PutFour(ByteSpan bytes, FourBytes EncodingSession::*field) noexcept {
    FourBytes four = {};
    std::copy_n(bytes.data(), std::min(bytes.size(), sizeof(four)), four);
    return Put([&](EncodingSession& session) {
        std::copy(std::begin(four), std::end(four), session.*field);
        return S_OK;
    });
}

HRESULT EncodingFormatBase::PutMaxLineLength(uint32_t length) noexcept {
    return Put([=](EncodingSession& session) { return session.SetMaxLineLength(length); });
}

HRESULT EncodingFormatBase::GetSubProcessing(REFIID iid, void** out) noexcept {
    if (!out) return Publish(E_POINTER);
    *out = nullptr;
    HRESULT hr = S_OK;
    {
        std::lock_guard hold(lock_);
        if (subProcessor_) hr = subProcessor_->QueryInterface(iid, out);
    }
    return Publish(hr);
}

HRESULT EncodingFormatBase::PutSubProcessing(ITalvoProcessData* processor) noexcept {
    return Publish(StoreProcessor(com::ComPtr<ITalvoProcessData>(processor)));
}

HRESULT EncodingFormatBase::PutSubProcessingOf(IUnknown* object) noexcept {
    com::ComPtr<ITalvoProcessData> processor;
    const bool found = !object || SUCCEEDED(object->QueryInterface(__uuidof(ITalvoProcessData), processor.PutVoid()));
    // An open conversion is the first thing to say, also about an object that is no processor.
    return Publish(found || OwnerOpen() ? StoreProcessor(std::move(processor)) : E_INVALIDARG);
}

bool EncodingFormatBase::OwnerOpen() noexcept {
    std::lock_guard hold(lock_);
    return owner_ != SessionOwner::None;
}

// The chain lock makes the look along the chain and the store one step. Object locks are taken one at a time meanwhile:
// a Reset on its way along the chain holds them from the outside in.
HRESULT EncodingFormatBase::StoreProcessor(com::ComPtr<ITalvoProcessData> processor) noexcept {
    std::lock_guard holdChain(com::ModuleState::Get().ChainLock());
    const bool loop = LeadsBack(processor);
    std::lock_guard hold(lock_);
    if (owner_ != SessionOwner::None) return berSessionOpened;
    if (loop) return E_INVALIDARG;
    subProcessor_ = std::move(processor);
    return S_OK;
}

// Whether `processor` is this object, or has it further down, as far as format objects of this server lead.
bool EncodingFormatBase::LeadsBack(com::ComPtr<ITalvoProcessData> processor) noexcept {
    while (processor) {
        com::ComPtr<IFormatObject> format;
        if (FAILED(processor.As(format))) return false;
        EncodingFormatBase& base = *format->Base();
        if (&base == this) return true;
        processor = base.SubProcessor();
    }
    return false;
}

}  // namespace talvo
