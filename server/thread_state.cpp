#include "server/thread_state.h"

#include <windows.h>

#include <objidl.h>

#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/hresult.h"
#include "server/counted_object.h"

namespace brindlex {
namespace {

/// A place for one pointer on every thread. Plain slots of the system, since nothing of ours may
/// run at the end of a thread by means of the loader, whose lock is held then.
class ThreadSlot {
 public:
  ThreadSlot() noexcept : index_(TlsAlloc()) {}
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;
  ~ThreadSlot() { TlsFree(index_); }

  void* Get() const noexcept { return TlsGetValue(index_); }
  bool Set(void* value) const noexcept { return TlsSetValue(index_, value) != FALSE; }

 private:
  DWORD index_;
};

const ThreadSlot& Slot() noexcept {
  static const ThreadSlot slot;
  return slot;
}

/// Told by COM when the thread leaves its apartment. COM holds the only lasting reference, from
/// Register until the last CoUninitialize, or the thread's end.
class ApartmentWatch final : public CountedObject<ApartmentWatch, IInitializeSpy> {
 public:
  ApartmentWatch() : state_(std::make_shared<ThreadState>()) {}
  ApartmentWatch(const ApartmentWatch&) = delete;
  ApartmentWatch& operator=(const ApartmentWatch&) = delete;
  ~ApartmentWatch() {
    if (OfThisThread() == this) Slot().Set(nullptr);
  }

  static ApartmentWatch* OfThisThread() noexcept {
    return static_cast<ApartmentWatch*>(Slot().Get());
  }

  const std::shared_ptr<ThreadState>& State() const noexcept { return state_; }

  void Register() {
    if (!Slot().Set(this)) throw RuntimeError(error_number::kOutOfMemory);
    const HRESULT status = CoRegisterInitializeSpy(this, &cookie_);
    if (FAILED(status)) Slot().Set(nullptr);
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
    // First, so that a host that calls from inside its object's end finds nothing half gone.
    Slot().Set(nullptr);
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

std::shared_ptr<ThreadState> EnsureThreadState() {
  if (auto state = CurrentThreadState()) return state;
  const auto watch = ComPtr<ApartmentWatch>::Adopt(new ApartmentWatch);
  watch->Register();
  return watch->State();
}

}  // namespace brindlex
