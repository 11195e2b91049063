// Automation: VARIANT, SAFEARRAY, type descriptions, IDispatch, type information and error information. Layouts are
// those of 64-bit Windows; methods stand in the order of the virtual tables.
#include <windows.h>
#include <ole2.h>

#ifndef TALVO_PLATFORM_OAIDL_H
#define TALVO_PLATFORM_OAIDL_H

#include <objidl.h>

typedef interface IDispatch IDispatch;
typedef interface ITypeComp ITypeComp;
typedef interface ITypeInfo ITypeInfo;
typedef interface ITypeLib ITypeLib;
typedef interface IErrorInfo IErrorInfo;
typedef interface ICreateErrorInfo ICreateErrorInfo;
typedef interface ISupportErrorInfo ISupportErrorInfo;
typedef interface IRecordInfo IRecordInfo;

typedef struct tagSAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
} SAFEARRAYBOUND;
typedef struct tagSAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    PVOID pvData;
    SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY;
#define FADF_AUTO 0x1
#define FADF_STATIC 0x2
#define FADF_EMBEDDED 0x4
#define FADF_FIXEDSIZE 0x10
#define FADF_BSTR 0x100
#define FADF_UNKNOWN 0x200
#define FADF_DISPATCH 0x400
#define FADF_VARIANT 0x800

typedef struct tagVARIANT VARIANT, VARIANTARG;
struct tagVARIANT {
    __extension__ union {
        __extension__ struct {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            __extension__ union {
                LONGLONG llVal;
                LONG lVal;
                BYTE bVal;
                SHORT iVal;
                FLOAT fltVal;
                DOUBLE dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                BSTR bstrVal;
                IUnknown* punkVal;
                IDispatch* pdispVal;
                SAFEARRAY* parray;
                BYTE* pbVal;
                SHORT* piVal;
                LONG* plVal;
                LONGLONG* pllVal;
                FLOAT* pfltVal;
                DOUBLE* pdblVal;
                VARIANT_BOOL* pboolVal;
                SCODE* pscode;
                CY* pcyVal;
                DATE* pdate;
                BSTR* pbstrVal;
                IUnknown** ppunkVal;
                IDispatch** ppdispVal;
                SAFEARRAY** pparray;
                VARIANT* pvarVal;
                PVOID byref;
                CHAR cVal;
                USHORT uiVal;
                ULONG ulVal;
                ULONGLONG ullVal;
                INT intVal;
                UINT uintVal;
                DECIMAL* pdecVal;
                CHAR* pcVal;
                USHORT* puiVal;
                ULONG* pulVal;
                ULONGLONG* pullVal;
                INT* pintVal;
                UINT* puintVal;
                __extension__ struct {
                    PVOID pvRecord;
                    IRecordInfo* pRecInfo;
                };
            };
        };
        DECIMAL decVal;
    };
};

typedef LONG DISPID;
typedef DISPID MEMBERID;
typedef DWORD HREFTYPE;
#define DISPID_UNKNOWN (-1)
#define DISPID_PROPERTYPUT (-3)

typedef enum tagTYPEKIND { TKIND_ENUM = 0, TKIND_INTERFACE = 3, TKIND_DISPATCH = 4, TKIND_COCLASS = 5 } TYPEKIND;
typedef struct tagTYPEDESC {
    __extension__ union {
        struct tagTYPEDESC* lptdesc;
        HREFTYPE hreftype;
    };
    VARTYPE vt;
} TYPEDESC;
typedef struct tagIDLDESC {
    ULONG_PTR dwReserved;
    USHORT wIDLFlags;
} IDLDESC;
#define PARAMFLAG_FIN 0x1
#define PARAMFLAG_FOUT 0x2
#define PARAMFLAG_FRETVAL 0x8
typedef struct tagTYPEATTR {
    GUID guid;
    LCID lcid;
    DWORD dwReserved;
    MEMBERID memidConstructor;
    MEMBERID memidDestructor;
    LPOLESTR lpstrSchema;
    ULONG cbSizeInstance;
    TYPEKIND typekind;
    WORD cFuncs;
    WORD cVars;
    WORD cImplTypes;
    WORD cbSizeVft;
    WORD cbAlignment;
    WORD wTypeFlags;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    TYPEDESC tdescAlias;
    IDLDESC idldescType;
} TYPEATTR;
typedef struct tagDISPPARAMS {
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
} DISPPARAMS;
typedef struct tagEXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT(__stdcall* pfnDeferredFillIn)(struct tagEXCEPINFO*);
    SCODE scode;
} EXCEPINFO;
typedef enum tagINVOKEKIND {
    INVOKE_FUNC = 1,
    INVOKE_PROPERTYGET = 2,
    INVOKE_PROPERTYPUT = 4,
    INVOKE_PROPERTYPUTREF = 8
} INVOKEKIND;
typedef struct tagFUNCDESC FUNCDESC;  // not offered, like all descriptions of members
typedef struct tagVARDESC VARDESC;
enum {
    TYPEFLAG_FCANCREATE = 0x2,
    TYPEFLAG_FHIDDEN = 0x10,
    TYPEFLAG_FCONTROL = 0x20,
    TYPEFLAG_FDUAL = 0x40,
    TYPEFLAG_FNONEXTENSIBLE = 0x80,
    TYPEFLAG_FOLEAUTOMATION = 0x100,
    TYPEFLAG_FRESTRICTED = 0x200,
    TYPEFLAG_FDISPATCHABLE = 0x1000
};
enum { FUNCFLAG_FRESTRICTED = 0x1, FUNCFLAG_FHIDDEN = 0x40 };

MIDL_INTERFACE("00020400-0000-0000-c000-000000000046")
IDispatch : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT * pctinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo * *ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR * rgszNames, UINT cNames, LCID lcid,
                                                    DISPID * rgDispId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                             DISPPARAMS * pDispParams, VARIANT * pVarResult, EXCEPINFO * pExcepInfo,
                                             UINT * puArgErr) = 0;
};
__CRT_UUID_DECL(IDispatch, 0x00020400, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
DEFINE_OLEGUID(IID_IDispatch, 0x00020400, 0, 0);

MIDL_INTERFACE("00020401-0000-0000-c000-000000000046")
ITypeInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetTypeAttr(TYPEATTR * *ppTypeAttr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp * *ppTComp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFuncDesc(UINT index, FUNCDESC * *ppFuncDesc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVarDesc(UINT index, VARDESC * *ppVarDesc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNames(MEMBERID memid, BSTR * rgBstrNames, UINT cMaxNames, UINT * pcNames) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRefTypeOfImplType(UINT index, HREFTYPE * pRefType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImplTypeFlags(UINT index, INT * pImplTypeFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(LPOLESTR * rgszNames, UINT cNames, MEMBERID * pMemId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS * pDispParams,
                                             VARIANT * pVarResult, EXCEPINFO * pExcepInfo, UINT * puArgErr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDocumentation(MEMBERID memid, BSTR * pBstrName, BSTR * pBstrDocString,
                                                       DWORD * pdwHelpContext, BSTR * pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDllEntry(MEMBERID memid, INVOKEKIND invKind, BSTR * pBstrDllName,
                                                  BSTR * pBstrName, WORD * pwOrdinal) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo * *ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddressOfMember(MEMBERID memid, INVOKEKIND invKind, PVOID * ppv) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown * pUnkOuter, REFIID riid, PVOID * ppvObj) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMops(MEMBERID memid, BSTR * pBstrMops) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetContainingTypeLib(ITypeLib * *ppTLib, UINT * pIndex) = 0;
    virtual void STDMETHODCALLTYPE ReleaseTypeAttr(TYPEATTR * pTypeAttr) = 0;
    virtual void STDMETHODCALLTYPE ReleaseFuncDesc(FUNCDESC * pFuncDesc) = 0;
    virtual void STDMETHODCALLTYPE ReleaseVarDesc(VARDESC * pVarDesc) = 0;
};
__CRT_UUID_DECL(ITypeInfo, 0x00020401, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
DEFINE_OLEGUID(IID_ITypeInfo, 0x00020401, 0, 0);

typedef enum tagSYSKIND { SYS_WIN16 = 0, SYS_WIN32 = 1, SYS_WIN64 = 3 } SYSKIND;
enum { LIBFLAG_FCONTROL = 0x2 };
typedef struct tagTLIBATTR {
    GUID guid;
    LCID lcid;
    SYSKIND syskind;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    WORD wLibFlags;
} TLIBATTR;

MIDL_INTERFACE("00020402-0000-0000-c000-000000000046")
ITypeLib : public IUnknown {
    virtual UINT STDMETHODCALLTYPE GetTypeInfoCount() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, ITypeInfo * *ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT index, TYPEKIND * pTKind) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID guid, ITypeInfo * *ppTinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR * *ppTLibAttr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp * *ppTComp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR * pBstrName, BSTR * pBstrDocString,
                                                       DWORD * pdwHelpContext, BSTR * pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsName(LPOLESTR szNameBuf, ULONG lHashVal, BOOL * pfName) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindName(LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo * *ppTInfo,
                                               MEMBERID * rgMemId, USHORT * pcFound) = 0;
    virtual void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR * pTLibAttr) = 0;
};
__CRT_UUID_DECL(ITypeLib, 0x00020402, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
DEFINE_OLEGUID(IID_ITypeLib, 0x00020402, 0, 0);

MIDL_INTERFACE("1cf2b120-547d-101b-8e65-08002b2bd119")
IErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID * pGUID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR * pBstrSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR * pBstrDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR * pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD * pdwHelpContext) = 0;
};
__CRT_UUID_DECL(IErrorInfo, 0x1cf2b120, 0x547d, 0x101b, 0x8e, 0x65, 0x08, 0x00, 0x2b, 0x2b, 0xd1, 0x19)
DEFINE_GUID(IID_IErrorInfo, 0x1cf2b120, 0x547d, 0x101b, 0x8e, 0x65, 0x08, 0x00, 0x2b, 0x2b, 0xd1, 0x19);

MIDL_INTERFACE("22f03340-547d-101b-8e65-08002b2bd119")
ICreateErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) = 0;
};
__CRT_UUID_DECL(ICreateErrorInfo, 0x22f03340, 0x547d, 0x101b, 0x8e, 0x65, 0x08, 0x00, 0x2b, 0x2b, 0xd1, 0x19)
DEFINE_GUID(IID_ICreateErrorInfo, 0x22f03340, 0x547d, 0x101b, 0x8e, 0x65, 0x08, 0x00, 0x2b, 0x2b, 0xd1, 0x19);

MIDL_INTERFACE("df0b3d60-548f-101b-8e65-08002b2bd119")
ISupportErrorInfo : public IUnknown { virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0; };
__CRT_UUID_DECL(ISupportErrorInfo, 0xdf0b3d60, 0x548f, 0x101b, 0x8e, 0x65, 0x08, 0x00, 0x2b, 0x2b, 0xd1, 0x19)
DEFINE_GUID(IID_ISupportErrorInfo, 0xdf0b3d60, 0x548f, 0x101b, 0x8e, 0x65, 0x08, 0x00, 0x2b, 0x2b, 0xd1, 0x19);

#endif
