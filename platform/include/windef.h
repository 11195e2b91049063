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
#define APIENTRY WINAPI
#define CALLBACK
#define PASCAL
#define CDECL
#define STDMETHODCALLTYPE WINAPI
#define STDMETHODVCALLTYPE
#define STDAPICALLTYPE WINAPI
#define __stdcall
#define __cdecl
#define STDAPI EXTERN_C HRESULT STDAPICALLTYPE
#define STDAPI_(type) EXTERN_C type STDAPICALLTYPE
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define DECLSPEC_IMPORT
#define DECLSPEC_UUID(x)
#define DECLSPEC_NOVTABLE
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
typedef signed char INT8;
typedef unsigned char UCHAR, BYTE, UINT8, BOOLEAN;
typedef short SHORT, INT16;
typedef unsigned short USHORT, WORD, UINT16;
typedef int INT, LONG, LONG32, INT32, BOOL, WINBOOL;
typedef unsigned int UINT, ULONG, DWORD, ULONG32, UINT32, DWORD32;
typedef long long LONGLONG, LONG64, INT64, INT_PTR, LONG_PTR, SSIZE_T;
typedef unsigned long long ULONGLONG, ULONG64, UINT64, DWORDLONG, DWORD64, UINT_PTR, ULONG_PTR, DWORD_PTR, SIZE_T;
typedef float FLOAT;
typedef double DOUBLE;
typedef LONG HRESULT;
typedef void *PVOID, *LPVOID;
typedef const void* LPCVOID;
typedef BYTE *PBYTE, *LPBYTE;
typedef WORD *PWORD, *LPWORD;
typedef DWORD *PDWORD, *LPDWORD;
typedef INT *PINT, *LPINT;
typedef UINT* PUINT;
typedef LONG *PLONG, *LPLONG;
typedef ULONG* PULONG;
typedef BOOL *PBOOL, *LPBOOL;
typedef CHAR *PCHAR, *LPCH, *PSTR, *LPSTR;
typedef const CHAR *LPCCH, *PCSTR, *LPCSTR;
typedef WCHAR *PWCHAR, *LPWCH, *PWSTR, *LPWSTR;
typedef const WCHAR *LPCWCH, *PCWSTR, *LPCWSTR;
typedef CHAR TCHAR;
typedef LPSTR LPTSTR;
typedef LPCSTR LPCTSTR;
#define TEXT(quote) quote

#define FALSE 0
#define TRUE 1
#define MAX_PATH 260

typedef void* HANDLE;
typedef HANDLE* LPHANDLE;
typedef HANDLE HGLOBAL, HLOCAL;
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
typedef USHORT LANGID;
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
} ULARGE_INTEGER, *PULARGE_INTEGER;
typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

#define MAKEWORD(a, b) ((WORD)(((BYTE)((DWORD_PTR)(a)&0xff)) | (((WORD)((BYTE)((DWORD_PTR)(b)&0xff))) << 8)))
#define MAKELONG(a, b) ((LONG)(((WORD)((DWORD_PTR)(a)&0xffff)) | (((DWORD)((WORD)((DWORD_PTR)(b)&0xffff))) << 16)))
#define LOWORD(l) ((WORD)((DWORD_PTR)(l)&0xffff))
#define HIWORD(l) ((WORD)(((DWORD_PTR)(l) >> 16) & 0xffff))
#define LOBYTE(w) ((BYTE)((DWORD_PTR)(w)&0xff))
#define HIBYTE(w) ((BYTE)(((DWORD_PTR)(w) >> 8) & 0xff))
#define UNREFERENCED_PARAMETER(P) ((void)(P))
#define ARRAYSIZE(a) (sizeof(a) / sizeof((a)[0]))

#include <guiddef.h>

#endif
