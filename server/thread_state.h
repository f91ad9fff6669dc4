#pragma once

#include <memory>

#include "appfiles/settings_folders.h"
#include "platform/win32/dispatch_listener.h"

namespace brindlex {

/// What a host hands over for one thread.
struct ThreadState {
  HostState host;
  /// Null when reports are shown to the user.
  std::shared_ptr<DispatchListener> listener;
};

/// What the host has handed over on the calling thread; null before it has.
///
/// It is released while the thread's apartment is still there, in the last CoUninitialize of the
/// thread; on a thread that ends without one, when COM cleans up behind it. Until then it keeps the
/// DLL loaded, as an object of the DLL does, since COM must tell it of the apartment's end.
std::shared_ptr<ThreadState> CurrentThreadState() noexcept;

/// Gives the calling thread's state up when the host has taken everything back; the DLL can be
/// unloaded then.
void ForgetEmptyThreadState() noexcept;

/// As CurrentThreadState, made when the thread has none. Throws RuntimeError or std::bad_alloc.
std::shared_ptr<ThreadState> EnsureThreadState();

}  // namespace brindlex
