#include "environment/mod_get_os.h"
#include "environment/mod_system_folders.h"
#include "server/Brindlex.h"
#include "server/classes/arguments.h"
#include "server/classes/classes.h"
#include "server/classes/the_platform.h"
#include "server/classes/thread_state.h"
#include "server/com/coclass.h"

namespace brindlex {
namespace {

/// The probes of the system as hosts see them.
class CoEnvironment final : public Coclass<CoEnvironment, _clsEnvironment, ::clsEnvironment> {
 public:
  STDMETHODIMP GetOsName(BSTR* result) override {
    return RunFor(result, [&] { *result = NewBstr(brindlex::GetOsName(ThePlatform())); });
  }

  STDMETHODIMP IsWindowsVista(VARIANT_BOOL* result) override {
    return RunFor(result,
                  [&] { *result = ToVariantBool(brindlex::IsWindowsVista(ThePlatform())); });
  }

  STDMETHODIMP FindSystemFolder(long csidl, BSTR* result) override {
    return RunFor(result,
                  [&] { *result = NewBstr(brindlex::FindSystemFolder(ThePlatform(), csidl)); });
  }

  STDMETHODIMP get_ReportListener(IDispatch** result) override {
    return RunFor(result, [&] {
      const auto state = CurrentThreadState();
      if (state == nullptr || state->listener == nullptr) return;
      *result = ComPtr<IDispatch>(state->listener->Object()).Detach();
    });
  }

  STDMETHODIMP putref_ReportListener(IDispatch* value) override {
    return Run([&] {
      const auto state = value == nullptr ? CurrentThreadState() : EnsureThreadState();
      if (state == nullptr) return;
      // The former one is released last: its end may call in again.
      auto listener =
          value == nullptr ? nullptr : std::make_shared<DispatchListener>(ComPtr<IDispatch>(value));
      std::swap(state->listener, listener);
      listener = nullptr;
      ForgetEmptyThreadState();
    });
  }
};

}  // namespace

IDispatch* NewEnvironment() { return new CoEnvironment; }

}  // namespace brindlex
