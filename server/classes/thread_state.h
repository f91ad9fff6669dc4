#pragma once

#include <memory>

#include "appfiles/settings_folders.h"
#include "platform/win32/automation/dispatch_listener.h"

namespace brindlex {

/// What a host has set for one thread.
struct ThreadState {
  HostState host;
  /// Null when reports are shown to the user.
  std::shared_ptr<DispatchListener> listener;
};

/// The state of the calling thread; null before the host has set anything.
///
/// It is released while the thread's apartment is still there, in the last CoUninitialize of the
/// thread; on a thread that ends without one, when COM cleans up after it. Until then it counts as
/// a use of the DLL, as an object does.
std::shared_ptr<ThreadState> CurrentThreadState() noexcept;

/// Releases the calling thread's state if the host has taken everything back; it is no use of the
/// DLL then.
void ForgetEmptyThreadState() noexcept;

/// The folders that the calling thread has found. Lives until the thread ends, whatever its
/// apartment does meanwhile. Throws std::bad_alloc.
FolderCache& ThreadFolderCache();

/// Frees the cache of the calling thread; to be called when the thread ends.
void FreeThreadFolderCache() noexcept;

/// As CurrentThreadState, made when the thread has none. Throws RuntimeError or std::bad_alloc.
std::shared_ptr<ThreadState> EnsureThreadState();

}  // namespace brindlex
