#include "server/com/error_info.h"

#include <oleauto.h>

#include "automation/runtime_error.h"
#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

constexpr HRESULT kOutOfMemory = static_cast<HRESULT>(0x800A0007);

HRESULT StatusOf(std::int32_t number) {
  constexpr std::uint32_t kControlFacility = 0x800A0000;
  if (number < 0) return number;
  return static_cast<HRESULT>(kControlFacility | (static_cast<std::uint32_t>(number) & 0xFFFFU));
}

void SetErrorObject(const RuntimeError& error, REFIID interfaceId) {
  ComPtr<ICreateErrorInfo> made;
  if (FAILED(CreateErrorInfo(made.Receive()))) return;
  made->SetGUID(interfaceId);
  made->SetSource(Bstr(error.source).Get());
  made->SetDescription(Bstr(error.description).Get());
  if (const auto info = made.As<IErrorInfo>()) SetErrorInfo(0, info.Get());
}

}  // namespace

HRESULT ReportCaughtError(REFIID interfaceId) noexcept {
  SetErrorInfo(0, nullptr);
  try {
    const RuntimeError error = CaughtError();
    SetErrorObject(error, interfaceId);
    return StatusOf(error.number);
  } catch (...) {
    return kOutOfMemory;
  }
}

HRESULT MoveErrorInfo(HRESULT status, EXCEPINFO* exception) noexcept {
  if (exception == nullptr) return DISP_E_EXCEPTION;
  *exception = {};
  exception->scode = status;
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.Receive()) == S_OK) {
    info->GetSource(&exception->bstrSource);
    info->GetDescription(&exception->bstrDescription);
  }
  return DISP_E_EXCEPTION;
}

}  // namespace brindlex
