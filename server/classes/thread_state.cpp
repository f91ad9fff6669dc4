#include "server/classes/thread_state.h"

#include <windows.h>

#include <objidl.h>

#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/hresult.h"
#include "server/com/counted_object.h"

namespace brindlex {
namespace {

/// One pointer for every thread: a plain slot of the system, allocated at its first use and kept
/// until the process ends.
class ThreadSlot {
 public:
  /// Null where none was set.
  void* Get() const noexcept {
    const DWORD index = index_;
    return index == TLS_OUT_OF_INDEXES ? nullptr : TlsGetValue(index);
  }

  /// False when there is no slot or no memory for it.
  bool Set(void* value) noexcept { return HasIndex() && TlsSetValue(index_, value) != FALSE; }

 private:
  bool HasIndex() noexcept {
    if (index_ != TLS_OUT_OF_INDEXES) return true;
    const DWORD taken = TlsAlloc();
    if (taken == TLS_OUT_OF_INDEXES) return false;
    DWORD none = TLS_OUT_OF_INDEXES;
    if (!index_.compare_exchange_strong(none, taken)) TlsFree(taken);
    return true;
  }

  std::atomic<DWORD> index_{TLS_OUT_OF_INDEXES};
};

constinit ThreadSlot watchSlot;
constinit ThreadSlot cacheSlot;

/// Called by COM when the thread leaves its apartment. COM holds the only lasting reference, from
/// Register until the last CoUninitialize, or the thread's end.
class ApartmentWatch final : public CountedObject<ApartmentWatch, IInitializeSpy> {
 public:
  ApartmentWatch() : state_(std::make_shared<ThreadState>()) {}
  ApartmentWatch(const ApartmentWatch&) = delete;
  ApartmentWatch& operator=(const ApartmentWatch&) = delete;
  ~ApartmentWatch() {
    if (OfThisThread() == this) watchSlot.Set(nullptr);
  }

  static ApartmentWatch* OfThisThread() noexcept {
    return static_cast<ApartmentWatch*>(watchSlot.Get());
  }

  const std::shared_ptr<ThreadState>& State() const noexcept { return state_; }

  void Register() {
    if (!watchSlot.Set(this)) throw std::bad_alloc();
    const HRESULT status = CoRegisterInitializeSpy(this, &cookie_);
    if (FAILED(status)) watchSlot.Set(nullptr);
    Check(status);
  }

  STDMETHODIMP PreInitialize(DWORD, DWORD) override { return S_OK; }
  STDMETHODIMP PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
  STDMETHODIMP PreUninitialize(DWORD references) override {
    if (references <= 1) End();
    return S_OK;
  }
  STDMETHODIMP PostUninitialize(DWORD) override { return S_OK; }

  void End() {
    const ComPtr<ApartmentWatch> alive(this);
    // First, so that a host that calls from inside its object's end finds no state that is partly
    // gone.
    watchSlot.Set(nullptr);
    state_.reset();
    CoRevokeInitializeSpy(cookie_);
  }

 private:
  ULARGE_INTEGER cookie_{};
  std::shared_ptr<ThreadState> state_;
};

}  // namespace

std::shared_ptr<ThreadState> CurrentThreadState() noexcept {
  const ApartmentWatch* const watch = ApartmentWatch::OfThisThread();
  return watch == nullptr ? nullptr : watch->State();
}

void ForgetEmptyThreadState() noexcept {
  auto* const watch = ApartmentWatch::OfThisThread();
  if (watch == nullptr) return;
  const ThreadState& state = *watch->State();
  const bool isStarted = !state.host.hostObject.IsNothing() || !state.host.appFolderName.empty() ||
                         !state.host.companyFolderName.empty();
  if (!isStarted && state.listener == nullptr) watch->End();
}

FolderCache& ThreadFolderCache() {
  if (auto* const cache = static_cast<FolderCache*>(cacheSlot.Get())) return *cache;
  auto made = std::make_unique<FolderCache>();
  if (!cacheSlot.Set(made.get())) throw std::bad_alloc();
  return *made.release();
}

void FreeThreadFolderCache() noexcept {
  const std::unique_ptr<FolderCache> cache(static_cast<FolderCache*>(cacheSlot.Get()));
  if (cache != nullptr) cacheSlot.Set(nullptr);
}

std::shared_ptr<ThreadState> EnsureThreadState() {
  if (auto state = CurrentThreadState()) return state;
  const auto watch = ComPtr<ApartmentWatch>::Adopt(new ApartmentWatch);
  watch->Register();
  return watch->State();
}

}  // namespace brindlex
