#include "server/thread_state.h"

#include <windows.h>

#include <objidl.h>

#include <atomic>
#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/hresult.h"
#include "server/module.h"

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
class ApartmentWatch : public IInitializeSpy {
 public:
  ApartmentWatch() : state_(std::make_shared<HostState>()) {}
  ApartmentWatch(const ApartmentWatch&) = delete;
  ApartmentWatch& operator=(const ApartmentWatch&) = delete;

  static ApartmentWatch* OfThisThread() noexcept {
    return static_cast<ApartmentWatch*>(Slot().Get());
  }

  const std::shared_ptr<HostState>& State() const noexcept { return state_; }

  void Register() {
    if (!Slot().Set(this)) throw RuntimeError(error_number::kOutOfMemory);
    const HRESULT status = CoRegisterInitializeSpy(this, &cookie_);
    if (FAILED(status)) Slot().Set(nullptr);
    Check(status);
  }

  virtual ~ApartmentWatch() {
    if (OfThisThread() == this) Slot().Set(nullptr);
  }

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    const bool known = id == IID_IUnknown || id == __uuidof(IInitializeSpy);
    *result = known ? static_cast<IInitializeSpy*>(this) : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP PreInitialize(DWORD, DWORD) override { return S_OK; }
  STDMETHODIMP PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
  STDMETHODIMP PreUninitialize(DWORD references) override {
    if (references <= 1) End();
    return S_OK;
  }
  STDMETHODIMP PostUninitialize(DWORD) override { return S_OK; }

 private:
  void End() {
    const ComPtr<ApartmentWatch> alive(this);
    // First, so that a host that calls from inside its object's end finds nothing half gone.
    Slot().Set(nullptr);
    state_.reset();
    CoRevokeInitializeSpy(cookie_);
  }

  std::atomic<ULONG> references_{1};
  ULARGE_INTEGER cookie_{};
  module::Use use_;
  std::shared_ptr<HostState> state_;
};

}  // namespace

std::shared_ptr<HostState> CurrentHostState() noexcept {
  const ApartmentWatch* const watch = ApartmentWatch::OfThisThread();
  return watch == nullptr ? nullptr : watch->State();
}

std::shared_ptr<HostState> EnsureHostState() {
  if (auto state = CurrentHostState()) return state;
  const auto watch = ComPtr<ApartmentWatch>::Adopt(new ApartmentWatch);
  watch->Register();
  return watch->State();
}

}  // namespace brindlex
