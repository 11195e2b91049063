// GUID, its comparison and the macros that declare or (after initguid.h) define identifiers. __uuidof works as in the
// mingw headers: a template that __CRT_UUID_DECL specializes for each interface.
#ifndef GUID_DEFINED
#define GUID_DEFINED
typedef struct _GUID {
    unsigned int Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
} GUID;
#endif

#ifndef EXTERN_C
#ifdef __cplusplus
#define EXTERN_C extern "C"
#else
#define EXTERN_C extern
#endif
#endif
#ifndef DECLSPEC_SELECTANY
#define DECLSPEC_SELECTANY __attribute__((weak))
#endif

// Outside the include guard on purpose: initguid.h may switch from declaring to defining after a first inclusion.
#undef DEFINE_GUID
#ifdef INITGUID
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
    EXTERN_C const GUID DECLSPEC_SELECTANY name;                     \
    const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) EXTERN_C const GUID name
#endif
#undef DEFINE_OLEGUID
#define DEFINE_OLEGUID(name, l, w1, w2) DEFINE_GUID(name, l, w1, w2, 0xc0, 0, 0, 0, 0, 0, 0, 0x46)

#ifndef TALVO_PLATFORM_GUIDDEF_H
#define TALVO_PLATFORM_GUIDDEF_H

#include <string.h>

typedef GUID IID, *LPIID, CLSID, *LPCLSID;
#define IID_NULL GUID_NULL
#define REFGUID const GUID&
#define REFIID const IID&
#define REFCLSID const IID&

inline int IsEqualGUID(REFGUID rguid1, REFGUID rguid2) { return !memcmp(&rguid1, &rguid2, sizeof(GUID)); }
#define IsEqualIID(riid1, riid2) IsEqualGUID(riid1, riid2)
#define IsEqualCLSID(rclsid1, rclsid2) IsEqualGUID(rclsid1, rclsid2)
inline bool operator==(REFGUID guidOne, REFGUID guidOther) { return !!IsEqualGUID(guidOne, guidOther); }
inline bool operator!=(REFGUID guidOne, REFGUID guidOther) { return !(guidOne == guidOther); }

extern "C++" {
template <typename T>
struct __mingw_uuidof_s;
template <typename T>
constexpr const GUID& __mingw_uuidof();
}
#define __CRT_UUID_DECL(type, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                  \
    extern "C++" {                                                                        \
    template <>                                                                           \
    struct __mingw_uuidof_s<type> {                                                       \
        static constexpr IID __uuid_inst = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}; \
    };                                                                                    \
    template <>                                                                           \
    constexpr const GUID& __mingw_uuidof<type>() {                                        \
        return __mingw_uuidof_s<type>::__uuid_inst;                                       \
    }                                                                                     \
    template <>                                                                           \
    constexpr const GUID& __mingw_uuidof<type*>() {                                       \
        return __mingw_uuidof_s<type>::__uuid_inst;                                       \
    }                                                                                     \
    }
#define __uuidof(type) __mingw_uuidof<__typeof(type)>()

#endif
