#pragma once

#include <memory>

#include "appfiles/settings_folders.h"

namespace brindlex {

/// What the host has handed over on the calling thread; null before it has.
///
/// It is released while the thread's apartment is still there, in the last CoUninitialize of the
/// thread; on a thread that ends without one, when COM cleans up behind it. Until then it keeps the
/// DLL loaded, as an object of the DLL does, since COM must tell it of the apartment's end.
std::shared_ptr<HostState> CurrentHostState() noexcept;

/// As above, made when the thread has none. Throws RuntimeError or std::bad_alloc.
std::shared_ptr<HostState> EnsureHostState();

}  // namespace brindlex
