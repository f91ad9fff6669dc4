#pragma once

#include <oaidl.h>

#include <new>

#include "automation/runtime_error.h"

namespace brindlex {

/// The run-time error of a failed automation call: the number that hosts give to the
/// status, else the status itself as a negative number. The error object that the called object may
/// have left on the thread is cleared, here and below: what fails is reported by the component, and
/// a call of the component that succeeds leaves no error object.
RuntimeError ErrorOf(HRESULT status);

/// As above, with what the called object reported in `exception` when the status is
/// DISP_E_EXCEPTION. Fills a deferred description in and releases the texts of `exception`.
RuntimeError ErrorOf(HRESULT status, EXCEPINFO& exception);

/// Throws ErrorOf(status); with `exception`, as ErrorOf has it.
[[noreturn]] void ThrowErrorOf(HRESULT status);
[[noreturn]] void ThrowErrorOf(HRESULT status, EXCEPINFO& exception);

/// Clears the error object of the thread, after a failure that is not reported.
void ClearErrorObject() noexcept;

/// For the status that an object of the host returned: throws ErrorOf(status) when that is a
/// failure.
inline void CheckHost(HRESULT status) {
  if (FAILED(status)) ThrowErrorOf(status);
}

/// For the status of a system function that works for the component: as CheckHost, but throws
/// std::bad_alloc when the function found no memory.
inline void Check(HRESULT status) {
  if (status == E_OUTOFMEMORY) throw std::bad_alloc();
  CheckHost(status);
}

}  // namespace brindlex
