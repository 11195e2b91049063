// The standard library, "stdole", as far as other libraries build on it: positions, names and flags are those of the real
// one, which lists more.
#include "platform/idl_parser.h"

namespace platform {
namespace {

constexpr std::string_view kText = R"(
[uuid(00020430-0000-0000-C000-000000000046), version(2.0), lcid(0), helpstring("OLE Automation")]
library stdole
{
    typedef struct GUID { unsigned long Data1; unsigned short Data2; unsigned short Data3; unsigned char Data4[8]; } GUID;
    typedef struct DISPPARAMS { VARIANT* rgvarg; long* rgdispidNamedArgs; unsigned int cArgs; unsigned int cNamedArgs; } DISPPARAMS;
    typedef struct EXCEPINFO {
        unsigned short wCode; unsigned short wReserved; BSTR bstrSource; BSTR bstrDescription; BSTR bstrHelpFile;
        unsigned long dwHelpContext; void* pvReserved; void* pfnDeferredFillIn; SCODE scode;
    } EXCEPINFO;

    [uuid(00000000-0000-0000-C000-000000000046), hidden] interface IUnknown
    {
        [restricted] HRESULT QueryInterface([in] GUID* riid, [out] void** ppvObj);
        [restricted] unsigned long AddRef();
        [restricted] unsigned long Release();
    };

    [uuid(00020400-0000-0000-C000-000000000046), restricted] interface IDispatch : IUnknown
    {
        [restricted] HRESULT GetTypeInfoCount([out] unsigned int* pctinfo);
        [restricted] HRESULT GetTypeInfo([in] unsigned int itinfo, [in] unsigned long lcid, [out] void** pptinfo);
        [restricted] HRESULT GetIDsOfNames([in] GUID* riid, [in] char** rgszNames, [in] unsigned int cNames,
                                           [in] unsigned long lcid, [out] long* rgdispid);
        [restricted] HRESULT Invoke([in] long dispidMember, [in] GUID* riid, [in] unsigned long lcid, [in] unsigned short wFlags,
                                    [in] DISPPARAMS* pdispparams, [out] VARIANT* pvarResult, [out] EXCEPINFO* pexcepinfo,
                                    [out] unsigned int* puArgErr);
    };
};
)";

}  // namespace

std::shared_ptr<const Library> StandardLibrary() {
    // A call that runs out of memory here leaves the next one to try again.
    static const std::shared_ptr<const Library> library = [] {
        IdlError error;
        return ParseIdl(kText, nullptr, error);
    }();
    return library;
}

}  // namespace platform
