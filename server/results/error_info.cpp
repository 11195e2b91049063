// Builds error information from the message table and the class's registration.
#include "server/results/error_info.h"

#include <objbase.h>
#include <oleauto.h>

#include <iterator>

#include "com/com_ptr.h"
#include "com/module_state.h"

namespace talvo {
namespace {

constexpr DWORD kMaxMessage = 512;

struct MessageText {
    WCHAR text[kMaxMessage + 1];  // always terminated; empty when the code has no text
};

void LookUpMessage(HRESULT code, MessageText& message) noexcept {
    char narrow[kMaxMessage];
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       com::ModuleState::Get().Instance(), static_cast<DWORD>(code), 0, narrow, kMaxMessage, nullptr);
    const int wide = length == 0 ? 0
                                 : MultiByteToWideChar(CP_ACP, 0, narrow, static_cast<int>(length), message.text,
                                                       static_cast<int>(kMaxMessage));
    message.text[wide] = 0;
}

}  // namespace

HRESULT ReportError(REFCLSID classId, HRESULT code) noexcept {
    MessageText message;
    LookUpMessage(code, message);

    com::ComPtr<ICreateErrorInfo> creator;
    if (FAILED(CreateErrorInfo(creator.Put()))) return code;
    static_cast<void>(creator->SetGUID(GUID_NULL));
    LPOLESTR progId = nullptr;
    if (SUCCEEDED(ProgIDFromCLSID(classId, &progId))) static_cast<void>(creator->SetSource(progId));
    CoTaskMemFree(progId);
    static_cast<void>(creator->SetDescription(message.text));

    com::ComPtr<IErrorInfo> information;
    if (SUCCEEDED(creator.As(information))) static_cast<void>(SetErrorInfo(0, information.Get()));
    return code;
}

void ClearError() noexcept { static_cast<void>(SetErrorInfo(0, nullptr)); }

HRESULT Publish(REFCLSID classId, HRESULT code) noexcept {
    if (code != S_OK) return ReportError(classId, code);
    ClearError();
    return code;
}

}  // namespace talvo
