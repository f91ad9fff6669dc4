#pragma once

#include <oaidl.h>

#include "automation/runtime_error.h"

namespace brindlex {

/// The run-time error that a failed automation call stands for: the number that hosts give to the
/// status, else the status itself as a negative number.
RuntimeError ErrorOf(HRESULT status);

/// As above, with what the called object said in `exception` when the status is DISP_E_EXCEPTION.
/// Fills a deferred description in and releases the texts of `exception`.
RuntimeError ErrorOf(HRESULT status, EXCEPINFO& exception);

/// Throws ErrorOf(status); with `exception`, as ErrorOf has it.
[[noreturn]] void ThrowErrorOf(HRESULT status);
[[noreturn]] void ThrowErrorOf(HRESULT status, EXCEPINFO& exception);

/// Throws ErrorOf(status) when `status` says failure.
inline void Check(HRESULT status) {
  if (FAILED(status)) ThrowErrorOf(status);
}

}  // namespace brindlex
