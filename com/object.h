// Identity, reference counting and aggregation of a COM object, and the facets that it may be made of.
//
// One class serves plain and aggregated creation: the three IUnknown methods of every interface go to `outer_`, which
// is the aggregate's outer object or this object's own Inner. The Inner counts and looks interfaces up; it alone is the
// identity.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <new>

#include "com/com_ptr.h"
#include "com/module_state.h"
#include "com/unique.h"

namespace com {

// Looks an interface up among those that a class has.
struct Lookup {
    // For classes whose rows are plain casts: the first match of `Rows` counts, null when there is none.
    template <class... Rows, class Self>
    static IUnknown* FindAmong(Self* self, REFIID iid) noexcept {
        IUnknown* found = nullptr;
        static_cast<void>(((IsEqualIID(iid, __uuidof(Rows)) && (found = static_cast<Rows*>(self))) || ...));
        return found;
    }
};

template <class... Interfaces>
class Object : public Interfaces..., protected Lookup {
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept final {
        return outer_->QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept final { return outer_->AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept final { return outer_->Release(); }

    // The object's own IUnknown: what an aggregating outer holds.
    IUnknown* Identity() noexcept { return &inner_; }

    // Objects live in task memory, so that one allocator sees everything. Null when there is none left.
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return TaskAlloc(size); }
    static void operator delete(void* block) noexcept { TaskFree(block); }
    static void operator delete(void* block, const std::nothrow_t&) noexcept { TaskFree(block); }

protected:
    explicit Object(IUnknown* outer) noexcept : inner_(this), outer_(outer ? outer : &inner_) {}
    virtual ~Object() = default;

    // The interface for `iid` (IUnknown aside), not counted; null when the object has none.
    virtual IUnknown* Find(REFIID iid) noexcept = 0;
    // Runs when the last reference goes, while the object is still whole.
    virtual void FinalRelease() noexcept {}

private:
    class Inner final : public IUnknown {
    public:
        explicit Inner(Object* owner) noexcept : owner_(owner) {}

        STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
            if (!object) return E_POINTER;
            IUnknown* const found = IsEqualIID(iid, __uuidof(IUnknown)) ? this : owner_->Find(iid);
            *object = found;
            if (!found) return E_NOINTERFACE;
            found->AddRef();
            return S_OK;
        }
        STDMETHODIMP_(ULONG) AddRef() noexcept override {
            return static_cast<ULONG>(InterlockedIncrement(&references_));
        }
        STDMETHODIMP_(ULONG) Release() noexcept override {
            const LONG left = InterlockedDecrement(&references_);
            if (left != 0) return static_cast<ULONG>(left);
            references_ = kDying;  // references taken and given back during the clean-up must not end it twice
            owner_->FinalRelease();
            delete owner_;
            return 0;
        }

    private:
        static constexpr LONG kDying = 0x40000000;
        LONG volatile references_ = 1;
        Object* owner_;
    };

    LiveObject live_;  // first, so that it goes last
    Inner inner_;
    IUnknown* outer_;
};

// A part of an object that implements some of its interfaces. Identity, counting and lookup are the object's, whose
// Find must answer with the interfaces of its facets.
template <class... Interfaces>
class Facet : public Interfaces..., protected Lookup {
public:
    Facet(const Facet&) = delete;
    Facet& operator=(const Facet&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept final {
        return object_.QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept final { return object_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept final { return object_.Release(); }

protected:
    // `object` is any interface of the whole object, which holds the facet; it is not counted.
    explicit Facet(IUnknown& object) noexcept : object_(object) {}
    ~Facet() = default;

private:
    IUnknown& object_;
};

// Creates a `Class` (constructed from its outer object, completed by FinalConstruct) and asks it for `iid`. The caller
// has cleared `*object`: a creation that fails does not touch it.
template <class Class>
HRESULT CreateObject(IUnknown* outer, REFIID iid, void** object) noexcept {
    Class* const created = new (std::nothrow) Class(outer);
    if (!created) return E_OUTOFMEMORY;
    ComPtr<IUnknown> identity;
    identity.Attach(created->Identity());
    if (const HRESULT hr = created->FinalConstruct(); FAILED(hr)) return hr;
    return identity->QueryInterface(iid, object);
}

}  // namespace com
