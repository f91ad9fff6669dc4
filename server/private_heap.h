#pragma once

namespace brindlex {

/// Frees all memory that the DLL holds; allocating fails from then on, and freeing does nothing. To
/// be called once, by the last code of the DLL that runs before it goes.
///
/// All allocations of the DLL, those of the compiler's libraries in it included, come from a heap
/// of its own (the linker leads malloc and its like here), since those libraries leave some blocks
/// behind whenever the DLL is unloaded. What changes hands with the host comes from the system's
/// allocators as ever.
void DestroyPrivateHeap() noexcept;

}  // namespace brindlex
