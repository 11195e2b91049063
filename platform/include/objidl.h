// IMallocSpy: the observer of the task allocator.
#include <windows.h>
#include <ole2.h>

#ifndef TALVO_PLATFORM_OBJIDL_H
#define TALVO_PLATFORM_OBJIDL_H

#include <unknwn.h>

typedef interface IMallocSpy IMallocSpy;
typedef IMallocSpy* LPMALLOCSPY;
DEFINE_OLEGUID(IID_IMallocSpy, 0x0000001d, 0, 0);
MIDL_INTERFACE("0000001d-0000-0000-c000-000000000046")
IMallocSpy : public IUnknown {
    virtual SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T cbRequest) = 0;
    virtual void* STDMETHODCALLTYPE PostAlloc(void* pActual) = 0;
    virtual void* STDMETHODCALLTYPE PreFree(void* pRequest, BOOL fSpyed) = 0;
    virtual void STDMETHODCALLTYPE PostFree(BOOL fSpyed) = 0;
    virtual SIZE_T STDMETHODCALLTYPE PreRealloc(void* pRequest, SIZE_T cbRequest, void** ppNewRequest, BOOL fSpyed) = 0;
    virtual void* STDMETHODCALLTYPE PostRealloc(void* pActual, BOOL fSpyed) = 0;
    virtual void* STDMETHODCALLTYPE PreGetSize(void* pRequest, BOOL fSpyed) = 0;
    virtual SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T cbActual, BOOL fSpyed) = 0;
    virtual void* STDMETHODCALLTYPE PreDidAlloc(void* pRequest, BOOL fSpyed) = 0;
    virtual int STDMETHODCALLTYPE PostDidAlloc(void* pRequest, BOOL fSpyed, int fActual) = 0;
    virtual void STDMETHODCALLTYPE PreHeapMinimize() = 0;
    virtual void STDMETHODCALLTYPE PostHeapMinimize() = 0;
};
__CRT_UUID_DECL(IMallocSpy, 0x0000001d, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

#endif
