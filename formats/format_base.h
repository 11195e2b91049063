// The state and the rules that the six format classes share: who may convert when, the chain step of a sub-processor,
// and the protocol of a property accessor. It has no interface of its own; format_core.h puts the interfaces on it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <type_traits>

#include "TalvoBinaryEncoding.h"
#include "com/com_ptr.h"
#include "com/lock.h"
#include "com/module_state.h"
#include "com/unique.h"
#include "engine/session.h"
#include "server/results/error_info.h"
#include "server/results/result_codes.h"

namespace talvo {

// Which operation has a conversion open on a format object.
enum class SessionOwner : uint32_t { None = 0, Process = 1, Revert = 2 };

class EncodingFormatBase;

// How the format objects of this module know each other; no interface of theirs for anybody else.
MIDL_INTERFACE("3f6ab7f2-58c1-4a0e-9d0c-6b1b1f3d7a55")
IFormatObject : public IUnknown { virtual EncodingFormatBase* STDMETHODCALLTYPE Base() noexcept = 0; };

class EncodingFormatBase {
public:
    EncodingFormatBase(const EncodingFormatBase&) = delete;
    EncodingFormatBase& operator=(const EncodingFormatBase&) = delete;

protected:
    EncodingFormatBase(FormatKind kind, const CLSID& classId) noexcept;
    ~EncodingFormatBase() = default;

    // ITalvoProcessData. `end` is nonzero for the last call.
    HRESULT ProcessData(const BYTE* source, DWORD size, LONG end, BYTE** out, DWORD* outSize) noexcept;
    HRESULT RevertData(const BYTE* source, DWORD size, LONG end, BYTE** out, DWORD* outSize, DWORD* consumed) noexcept;
    HRESULT ResetData() noexcept;

    // SubProcessing: the get asks the held processor for `iid`. The second put asks any object for its
    // ITalvoProcessData: E_INVALIDARG when it has none. Null removes the processor.
    HRESULT GetSubProcessing(REFIID iid, void** out) noexcept;
    HRESULT PutSubProcessing(ITalvoProcessData* processor) noexcept;
    HRESULT PutSubProcessingOf(IUnknown* object) noexcept;

    // A name field: a new copy; an empty string when none is stored. E_OUTOFMEMORY.
    HRESULT CopyName(com::UniqueBstr EncodingSession::*field, BSTR* out) noexcept;
    // Runs `store(session)` under the lock, or answers berSessionOpened while a conversion is open or a call is
    // running.
    template <class Store>
    HRESULT Change(Store store) noexcept {
        std::lock_guard hold(lock_);
        return Frozen() ? berSessionOpened : HRESULT{store(session_)};
    }

    // The two patterns of an accessor, error information included.
    template <class Out, class Part, class Field>
    HRESULT Get(Out* out, Field Part::*field) noexcept {
        if (!out) return Publish(E_POINTER);
        {
            std::lock_guard hold(lock_);
            *out = Cross<Out>(session_.*field);
        }
        return Publish(S_OK);
    }
    template <class Store>
    HRESULT Put(Store store) noexcept {
        return Publish(Change(store));
    }
    template <class Part, class Field>
    HRESULT PutField(Field Part::*field, Field value) noexcept {
        return Put([=](EncodingSession& session) {
            session.*field = value;
            return S_OK;
        });
    }
    HRESULT PutMaxLineLength(uint32_t length) noexcept;
    // Four-byte fields: a put takes the first four bytes and completes with zeros.
    using FourBytes = BYTE[4];
    void CopyFour(FourBytes EncodingSession::*field, BYTE* out) noexcept;
    HRESULT PutFour(ByteSpan bytes, FourBytes EncodingSession::*field) noexcept;

    HRESULT Publish(HRESULT code) noexcept { return talvo::Publish(classId_, code); }

private:
    class CallGuard;

    HRESULT EnterCall(SessionOwner operation) noexcept;
    void CloseSession() noexcept;
    // Options stay as they are from the moment a call is admitted; State is the running call's own while it is busy.
    bool Frozen() const noexcept { return busy_ || session_.State != SessionState::Idle; }
    com::ComPtr<ITalvoProcessData> SubProcessor() noexcept;
    HRESULT StoreProcessor(com::ComPtr<ITalvoProcessData> processor, bool usable) noexcept;
    bool Link(EncodingFormatBase* next) noexcept;

    // How a stored value crosses an interface: a boolean as VARIANT_BOOL or 1/0, all else unchanged.
    template <class Out, class Field>
    static Out Cross(const Field& value) noexcept {
        if constexpr (std::is_same_v<Field, bool>) {
            return static_cast<Out>(value ? (std::is_same_v<Out, VARIANT_BOOL> ? VARIANT_TRUE : 1) : 0);
        } else {
            return static_cast<Out>(value);
        }
    }

    com::ComPtr<ITalvoProcessData> subProcessor_;
    EncodingFormatBase* next_ = nullptr;  // the sub-processor, if it is one of these; guarded by the module's lock
    SessionOwner owner_ = SessionOwner::None;
    bool busy_ = false;
    EncodingSession session_;
    const CLSID& classId_;
    com::CriticalSection lock_;
};

}  // namespace talvo

__CRT_UUID_DECL(talvo::IFormatObject, 0x3f6ab7f2, 0x58c1, 0x4a0e, 0x9d, 0x0c, 0x6b, 0x1b, 0x1f, 0x3d, 0x7a, 0x55)
