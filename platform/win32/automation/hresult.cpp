#include "platform/win32/automation/hresult.h"

#include <oleauto.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

struct Mapping {
  HRESULT status;
  std::int32_t number;
};

constexpr Mapping kMappings[] = {
    {E_NOTIMPL, 445},
    {E_NOINTERFACE, 430},
    {E_OUTOFMEMORY, 7},
    {E_INVALIDARG, 5},
    {E_ACCESSDENIED, 70},
    {DISP_E_UNKNOWNINTERFACE, 438},
    {DISP_E_MEMBERNOTFOUND, 438},
    {DISP_E_PARAMNOTFOUND, 448},
    {DISP_E_TYPEMISMATCH, 13},
    {DISP_E_UNKNOWNNAME, 438},
    {DISP_E_NONAMEDARGS, 446},
    {DISP_E_BADVARTYPE, 458},
    {DISP_E_OVERFLOW, 6},
    {DISP_E_BADINDEX, 9},
    {DISP_E_UNKNOWNLCID, 447},
    {DISP_E_ARRAYISLOCKED, 10},
    {DISP_E_BADPARAMCOUNT, 450},
    {DISP_E_PARAMNOTOPTIONAL, 449},
    {DISP_E_NOTACOLLECTION, 451},
    {DISP_E_DIVBYZERO, 11},
    {DISP_E_BUFFERTOOSMALL, 458},
    {REGDB_E_CLASSNOTREG, 429},
    {CO_E_CLASSSTRING, 429},
    {CLASS_E_CLASSNOTAVAILABLE, 429},
    {CO_E_APPNOTFOUND, 429},
    {CO_E_APPDIDNTREG, 429},
    {RPC_E_DISCONNECTED, 462},
    {STG_E_FILENOTFOUND, 53},
    {STG_E_PATHNOTFOUND, 76},
    {STG_E_ACCESSDENIED, 70},
    {STG_E_INSUFFICIENTMEMORY, 7},
    {STG_E_MEDIUMFULL, 61},
};

std::int32_t NumberOf(HRESULT status) {
  constexpr std::uint32_t kControlFacility = 0x800A0000;
  const auto bits = static_cast<std::uint32_t>(status);
  // The number 0 means no error at all, so this one status keeps its own.
  if ((bits & 0xFFFF0000U) == kControlFacility && bits != kControlFacility) {
    return static_cast<std::int32_t>(bits & 0xFFFFU);
  }
  const auto* found = std::find_if(std::begin(kMappings), std::end(kMappings),
                                   [status](const Mapping& m) { return m.status == status; });
  return found == std::end(kMappings) ? status : found->number;
}

}  // namespace

void ClearErrorObject() noexcept { SetErrorInfo(0, nullptr); }

RuntimeError ErrorOf(HRESULT status) {
  ClearErrorObject();
  return RuntimeError(NumberOf(status));
}

RuntimeError ErrorOf(HRESULT status, EXCEPINFO& exception) {
  if (status == DISP_E_EXCEPTION && exception.pfnDeferredFillIn != nullptr) {
    exception.pfnDeferredFillIn(&exception);
  }
  Bstr source;
  Bstr description;
  Bstr helpFile;
  *source.Receive() = std::exchange(exception.bstrSource, nullptr);
  *description.Receive() = std::exchange(exception.bstrDescription, nullptr);
  *helpFile.Receive() = std::exchange(exception.bstrHelpFile, nullptr);
  if (status != DISP_E_EXCEPTION) return ErrorOf(status);

  RuntimeError error = exception.scode != 0   ? ErrorOf(exception.scode)
                       : exception.wCode != 0 ? RuntimeError(exception.wCode)
                                              : RuntimeError(DISP_E_EXCEPTION);
  if (!description.View().empty()) error.description = description.View();
  if (!source.View().empty()) error.source = source.View();
  return error;
}

void ThrowErrorOf(HRESULT status) { throw ErrorOf(status); }

void ThrowErrorOf(HRESULT status, EXCEPINFO& exception) { throw ErrorOf(status, exception); }

}  // namespace brindlex
