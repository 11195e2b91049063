// IUnknown and IClassFactory.
#include <windows.h>
#include <ole2.h>

#ifndef TALVO_PLATFORM_UNKNWN_H
#define TALVO_PLATFORM_UNKNWN_H

#include <wtypes.h>

typedef interface IUnknown IUnknown;
typedef IUnknown* LPUNKNOWN;
DEFINE_OLEGUID(IID_IUnknown, 0x00000000, 0, 0);
extern "C++" {
MIDL_INTERFACE("00000000-0000-0000-c000-000000000046")
IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef(void) = 0;
    virtual ULONG STDMETHODCALLTYPE Release(void) = 0;

    template <class Q>
    HRESULT STDMETHODCALLTYPE QueryInterface(Q * *pp) {
        return QueryInterface(__uuidof(Q), (void**)pp);
    }
};
}
__CRT_UUID_DECL(IUnknown, 0x00000000, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

typedef interface IClassFactory IClassFactory;
DEFINE_OLEGUID(IID_IClassFactory, 0x00000001, 0, 0);
MIDL_INTERFACE("00000001-0000-0000-c000-000000000046")
IClassFactory : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown * pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};
__CRT_UUID_DECL(IClassFactory, 0x00000001, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

#endif
