// Counted reference to an interface.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <utility>

namespace com {

template <class T>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(other.Detach()) {}
    // Takes a reference of its own.
    explicit ComPtr(T* pointer) noexcept : pointer_(pointer) {
        if (pointer_) pointer_->AddRef();
    }
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComPtr() { Reset(); }

    explicit operator bool() const noexcept { return pointer_ != nullptr; }
    T* operator->() const noexcept { return pointer_; }
    T* Get() const noexcept { return pointer_; }

    void Reset() noexcept {
        if (T* const old = Detach()) old->Release();
    }
    // Takes over a reference that the caller holds.
    void Attach(T* pointer) noexcept {
        Reset();
        pointer_ = pointer;
    }
    [[nodiscard]] T* Detach() noexcept { return std::exchange(pointer_, nullptr); }
    // Address for an out parameter; what was held is released first.
    T** Put() noexcept {
        Reset();
        return &pointer_;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

    // Asks the object for another interface.
    template <class U>
    HRESULT As(ComPtr<U>& other) const noexcept {
        return pointer_->QueryInterface(__uuidof(U), other.PutVoid());
    }

private:
    T* pointer_ = nullptr;
};

}  // namespace com
