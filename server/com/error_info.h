#pragma once

#include <oaidl.h>

namespace brindlex {

/// The exception being handled, as COM knows it: the thread's error object gets source and
/// description, and the result is 0x800A0000 | number, or the number itself where it is a status
/// already. Every method of every class ends its failures here. To be called inside a catch clause
/// only.
HRESULT ReportCaughtError(REFIID interfaceId) noexcept;

/// What IDispatch::Invoke returns when a vtable method has failed with `status`: DISP_E_EXCEPTION,
/// with the thread's error object moved to `exception` unless that is null.
HRESULT MoveErrorInfo(HRESULT status, EXCEPINFO* exception) noexcept;

}  // namespace brindlex
