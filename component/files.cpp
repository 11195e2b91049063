// The file methods. They are declared for clients to compile against and do not convert yet: each answers E_NOTIMPL,
// with its results cleared. The command reads and writes files itself meanwhile.
#include "component/binary_encoding.h"

namespace talvo {

HRESULT BinaryEncoding::ReadFile(BSTR, DWORD, DWORD, ETBFileProcessing, LONG, DWORD* pdwBytesRead, BYTE** ppcData,
                                 DWORD* pdwDataSize) noexcept {
    if (!pdwBytesRead || !ppcData || !pdwDataSize) return Publish(E_POINTER);
    *pdwBytesRead = 0;
    *ppcData = nullptr;
    *pdwDataSize = 0;
    return Publish(E_NOTIMPL);
}

HRESULT BinaryEncoding::WriteFile(const BYTE*, DWORD, ETBFileProcessing, LONG, BSTR, LONG, DWORD* pdwWritten) noexcept {
    if (!pdwWritten) return Publish(E_POINTER);
    *pdwWritten = 0;
    return Publish(E_NOTIMPL);
}

HRESULT BinaryEncoding::ProcessFile(BSTR, DWORD, DWORD, ETBFileProcessing, LONG, BSTR, LONG, DWORD* pdwBytesRead,
                                    DWORD* pdwWritten) noexcept {
    if (!pdwBytesRead || !pdwWritten) return Publish(E_POINTER);
    *pdwBytesRead = *pdwWritten = 0;
    return Publish(E_NOTIMPL);
}

HRESULT BinaryEncoding::ReadFile(BSTR, LONG, LONG, ETBFileProcessing, VARIANT_BOOL, VARIANT* vaBytesRead,
                                 VARIANT* vaResult) noexcept {
    if (!vaBytesRead || !vaResult) return Publish(E_POINTER);
    VariantInit(vaResult);
    V_VT(vaBytesRead) = VT_I4;
    V_I4(vaBytesRead) = 0;
    return Publish(E_NOTIMPL);
}

HRESULT BinaryEncoding::WriteFile(VARIANT*, ETBFileProcessing, VARIANT_BOOL, BSTR, VARIANT_BOOL,
                                  LONG* lWritten) noexcept {
    if (!lWritten) return Publish(E_POINTER);
    *lWritten = 0;
    return Publish(E_NOTIMPL);
}

HRESULT BinaryEncoding::ProcessFile(BSTR, LONG, LONG, ETBFileProcessing, VARIANT_BOOL, BSTR, VARIANT_BOOL,
                                    VARIANT* vaBytesRead, LONG* lWritten) noexcept {
    if (!vaBytesRead || !lWritten) return Publish(E_POINTER);
    static_cast<void>(VariantClear(vaBytesRead));
    V_VT(vaBytesRead) = VT_I4;
    V_I4(vaBytesRead) = 0;
    *lWritten = 0;
    return Publish(E_NOTIMPL);
}

}  // namespace talvo
