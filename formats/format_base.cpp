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
    com::ComPtr<ITalvoProcessData> processor;  // given back when the call is over
    if (const HRESULT hr = EnterCall(SessionOwner::Revert); FAILED(hr)) return hr;
    CallGuard guard(*this);
    processor = SubProcessor();

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

// Busy meanwhile: a processor that calls back from its own Reset is refused, which ends a loop through foreign objects.
HRESULT EncodingFormatBase::ResetData() noexcept {
    std::lock_guard hold(lock_);
    if (busy_) return berBusy;
    busy_ = true;
    if (const com::ComPtr<ITalvoProcessData> processor = subProcessor_) static_cast<void>(processor->Reset());
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
    return Publish(StoreProcessor(com::ComPtr<ITalvoProcessData>(processor), true));
}

HRESULT EncodingFormatBase::PutSubProcessingOf(IUnknown* object) noexcept {
    com::ComPtr<ITalvoProcessData> processor;
    if (object && FAILED(object->QueryInterface(__uuidof(ITalvoProcessData), processor.PutVoid()))) {
        static_cast<void>(processor.Detach());  // whatever a failed call has left there
    }
    return Publish(StoreProcessor(processor, !object || processor));
}

namespace {

// The format object of this server that `processor` is, or null. An object that only forwards this
// interface does not count: its lifetime says nothing about the other's.
EncodingFormatBase* FormatBehind(const com::ComPtr<ITalvoProcessData>& processor) noexcept {
    com::ComPtr<IFormatObject> format;
    com::ComPtr<IUnknown> asked;
    com::ComPtr<IUnknown> found;
    if (!processor || FAILED(processor.As(format)) || FAILED(processor.As(asked)) || FAILED(format.As(found))) {
        return nullptr;
    }
    return asked.Get() == found.Get() ? format->Base() : nullptr;
}

}  // namespace

// `usable` is false for an object that is no processor; berSessionOpened is reported before E_INVALIDARG.
// The old processor's clean-up runs under this object's lock, and no foreign code under the module's lock.
HRESULT EncodingFormatBase::StoreProcessor(com::ComPtr<ITalvoProcessData> processor, bool usable) noexcept {
    EncodingFormatBase* const next = FormatBehind(processor);
    std::lock_guard hold(lock_);
    if (owner_ != SessionOwner::None) return berSessionOpened;
    if (!usable || !Link(next)) return E_INVALIDARG;
    subProcessor_ = std::move(processor);
    return S_OK;
}

// Notes what this object leads to, unless that leads back to this object. The look along the chain and the note are
// one step, so that no two links close a loop between them. An object on the chain is held by the one before it, which
// lets go only after it has been linked elsewhere.
bool EncodingFormatBase::Link(EncodingFormatBase* next) noexcept {
    std::lock_guard hold(com::ModuleState::Get().SharedLock());
    for (const EncodingFormatBase* format = next; format; format = format->next_) {
        if (format == this) return false;
    }
    next_ = next;
    return true;
}

}  // namespace talvo
