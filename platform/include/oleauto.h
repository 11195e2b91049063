// Calls of the automation library that we use.
#include <windows.h>

#ifndef TALVO_PLATFORM_OLEAUTO_H
#define TALVO_PLATFORM_OLEAUTO_H

#include <objbase.h>

#include <oaidl.h>

#define WINOLEAUTAPI EXTERN_C DECLSPEC_IMPORT HRESULT WINAPI
#define WINOLEAUTAPI_(type) EXTERN_C DECLSPEC_IMPORT type WINAPI

WINOLEAUTAPI_(BSTR) SysAllocString(const OLECHAR* psz);
WINOLEAUTAPI_(BSTR) SysAllocStringLen(const OLECHAR* strIn, UINT ui);
WINOLEAUTAPI_(void) SysFreeString(BSTR bstrString);
WINOLEAUTAPI_(UINT) SysStringLen(BSTR bstr);
WINOLEAUTAPI_(UINT) SysStringByteLen(BSTR bstr);
WINOLEAUTAPI_(BSTR) SysAllocStringByteLen(LPCSTR psz, UINT len);

WINOLEAUTAPI SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut);
WINOLEAUTAPI_(SAFEARRAY*) SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
WINOLEAUTAPI_(SAFEARRAY*) SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
WINOLEAUTAPI SafeArrayDestroy(SAFEARRAY* psa);
WINOLEAUTAPI_(UINT) SafeArrayGetDim(SAFEARRAY* psa);
WINOLEAUTAPI_(UINT) SafeArrayGetElemsize(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
WINOLEAUTAPI SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
WINOLEAUTAPI SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
WINOLEAUTAPI SafeArrayUnaccessData(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);

WINOLEAUTAPI_(void) VariantInit(VARIANTARG* pvarg);
WINOLEAUTAPI VariantClear(VARIANTARG* pvarg);
WINOLEAUTAPI VariantCopy(VARIANTARG* pvargDest, VARIANTARG* pvargSrc);
WINOLEAUTAPI VariantCopyInd(VARIANT* pvarDest, VARIANTARG* pvargSrc);
WINOLEAUTAPI VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt);

#define MEMBERID_NIL DISPID_UNKNOWN
#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8
typedef enum tagREGKIND { REGKIND_DEFAULT, REGKIND_REGISTER, REGKIND_NONE } REGKIND;
WINOLEAUTAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib);
WINOLEAUTAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib);
WINOLEAUTAPI QueryPathOfRegTypeLib(REFGUID guid, USHORT wMaj, USHORT wMin, LCID lcid, LPBSTR lpbstrPathName);
WINOLEAUTAPI RegisterTypeLib(ITypeLib* ptlib, OLECHAR* szFullPath, OLECHAR* szHelpDir);
WINOLEAUTAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind);

WINOLEAUTAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
WINOLEAUTAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);
WINOLEAUTAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo);

#define V_UNION(X, Y) ((X)->Y)
#define V_VT(X) ((X)->vt)
#define V_ISBYREF(X) (V_VT(X) & VT_BYREF)
#define V_ISARRAY(X) (V_VT(X) & VT_ARRAY)
#define V_UI1(X) V_UNION(X, bVal)
#define V_I4(X) V_UNION(X, lVal)
#define V_UI4(X) V_UNION(X, ulVal)
#define V_UI8(X) V_UNION(X, ullVal)
#define V_BSTR(X) V_UNION(X, bstrVal)
#define V_DISPATCH(X) V_UNION(X, pdispVal)
#define V_VARIANTREF(X) V_UNION(X, pvarVal)
#define V_ARRAY(X) V_UNION(X, parray)
#define V_ARRAYREF(X) V_UNION(X, pparray)
#define V_BYREF(X) V_UNION(X, byref)

#endif
