#pragma once

namespace brindlex {

/// Makes sure that the calling thread can throw exceptions when memory has run out.
///
/// The C++ run time keeps an emergency pool for that, but it allocates the lock of the pool when
/// the pool is first used, and a thread's exception state at the thread's first exception. Without
/// memory neither works: the failing lock throws in its turn, until the stack overflows. Cheap
/// after a thread's first call.
void PrepareToThrow() noexcept;

}  // namespace brindlex
