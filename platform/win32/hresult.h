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

/// Throws ErrorOf(status) when `status` says failure.
void Check(HRESULT status);

}  // namespace brindlex
