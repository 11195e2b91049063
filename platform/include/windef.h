// Basic types and keywords, in the widths a 64-bit Windows gives them. WCHAR is char16_t, so that wide text has the
// same units on both sides; the calling-convention words are empty, as there is one convention here.
#ifndef TALVO_PLATFORM_WINDEF_H
#define TALVO_PLATFORM_WINDEF_H

#include <stdarg.h>
#include <stddef.h>

#ifndef EXTERN_C
#ifdef __cplusplus
#define EXTERN_C extern "C"
#else
#define EXTERN_C extern
#endif
#endif

#define WINAPI
#define CALLBACK
#define STDMETHODCALLTYPE WINAPI
#define STDAPICALLTYPE WINAPI
#define __stdcall
#define STDAPI EXTERN_C HRESULT STDAPICALLTYPE
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define DECLSPEC_IMPORT
#define DECLSPEC_UUID(x)
#define DECLSPEC_SELECTANY __attribute__((weak))
#define WINBASEAPI EXTERN_C DECLSPEC_IMPORT
#define WINADVAPI EXTERN_C DECLSPEC_IMPORT
#define FORCEINLINE inline __attribute__((always_inline))
// Words the real headers take away from everyone: taken here too, so that code that uses them as names fails early.
#define CONST const
#define FAR
#define NEAR
#define far
#define near
#define IN
#define OUT
#define OPTIONAL

#define VOID void
typedef char CHAR;
typedef char16_t WCHAR;
typedef unsigned char BYTE;
typedef short SHORT;
typedef unsigned short USHORT, WORD;
typedef int INT, LONG, BOOL;
typedef unsigned int UINT, ULONG, DWORD;
typedef long long LONGLONG, INT_PTR, LONG_PTR;
typedef unsigned long long ULONGLONG, UINT_PTR, ULONG_PTR, DWORD_PTR, SIZE_T;
typedef float FLOAT;
typedef double DOUBLE;
typedef LONG HRESULT;
typedef void *PVOID, *LPVOID;
typedef const void* LPCVOID;
typedef BYTE* LPBYTE;
typedef DWORD* LPDWORD;
typedef BOOL* LPBOOL;
typedef CHAR* LPSTR;
typedef const CHAR *LPCCH, *LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR *LPCWCH, *LPCWSTR;
#define TEXT(quote) quote

#define FALSE 0
#define TRUE 1
#define MAX_PATH 260

typedef void* HANDLE;
typedef HANDLE HGLOBAL;
#define DECLARE_HANDLE(name) \
    struct name##__ {        \
        int unused;          \
    };                       \
    typedef struct name##__* name
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HRSRC);
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HWND);
typedef HINSTANCE HMODULE;
typedef HKEY* PHKEY;
typedef INT_PTR(WINAPI* FARPROC)();

typedef DWORD LCID;
typedef DWORD ACCESS_MASK;

typedef union _LARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;
typedef union _ULARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
} ULARGE_INTEGER;
typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME;

#define LOWORD(l) ((WORD)((DWORD_PTR)(l)&0xffff))
#define HIWORD(l) ((WORD)(((DWORD_PTR)(l) >> 16) & 0xffff))

#include <guiddef.h>

#endif
