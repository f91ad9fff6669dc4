#pragma once

namespace brindlex {

/// Makes sure that the calling thread can throw exceptions when memory has run out.
///
/// The C++ run time keeps a reserve for that, but only allocates the lock of the reserve when it is
/// first drawn upon, and a thread's own exception state at the thread's first exception. Without
/// memory neither works: the failing lock throws in its turn, until the stack overflows. Cheap
/// after a thread's first call.
void PrepareToThrow() noexcept;

/// Whether the allocation that the calling thread is at must find no memory, which is how the
/// reserve is reached before memory is short. True once for each time that was asked for.
bool IsAllocationRefused() noexcept;

}  // namespace brindlex
