#include "server/classes/co_environment.h"

#include "environment/mod_get_os.h"
#include "environment/mod_system_folders.h"
#include "server/com/the_platform.h"
#include "server/com/thread_state.h"
#include "server/com/values.h"

namespace brindlex {
STDMETHODIMP CoEnvironment::GetOsName(BSTR* result) {
  return RunFor(result, [&] { *result = NewBstr(brindlex::GetOsName(ThePlatform())); });
}

STDMETHODIMP CoEnvironment::IsWindowsVista(VARIANT_BOOL* result) {
  return RunFor(result, [&] { *result = FlagOf(brindlex::IsWindowsVista(ThePlatform())); });
}

STDMETHODIMP CoEnvironment::FindSystemFolder(long csidl, BSTR* result) {
  return RunFor(result,
                [&] { *result = NewBstr(brindlex::FindSystemFolder(ThePlatform(), csidl)); });
}

STDMETHODIMP CoEnvironment::get_ReportListener(IDispatch** result) {
  return RunFor(result, [&] {
    const auto state = CurrentThreadState();
    if (state == nullptr || state->listener == nullptr) return;
    *result = ComPtr<IDispatch>(state->listener->Object()).Detach();
  });
}

STDMETHODIMP CoEnvironment::putref_ReportListener(IDispatch* value) {
  return Run([&] {
    const auto state = value == nullptr ? CurrentThreadState() : EnsureThreadState();
    if (state == nullptr) return;
    // The one that was there goes last: its end may call in again.
    auto listener =
        value == nullptr ? nullptr : std::make_shared<DispatchListener>(ComPtr<IDispatch>(value));
    std::swap(state->listener, listener);
    listener = nullptr;
    ForgetEmptyThreadState();
  });
}

}  // namespace brindlex
