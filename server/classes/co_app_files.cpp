#include "appfiles/settings_folders.h"
#include "appfiles/text_files.h"
#include "server/Brindlex.h"
#include "server/classes/arguments.h"
#include "server/classes/classes.h"
#include "server/classes/the_platform.h"
#include "server/classes/thread_state.h"
#include "server/com/coclass.h"

namespace brindlex {
namespace {

/// Replaces the text in the caller's variable by `text`, unless it is the same.
void Assign(TextView text, BSTR& variable) {
  if (ViewOf(variable) == text) return;
  auto* const made = NewBstr(text);
  SysFreeString(variable);
  variable = made;
}

/// The settings folders and the text files as hosts see them. What the host passes to StartUp
/// belongs to the thread, not to the object.
class CoAppFiles final : public Coclass<CoAppFiles, _clsAppFiles, ::clsAppFiles> {
 public:
  STDMETHODIMP StartUp(IDispatch* hostObject, BSTR appFolderName, BSTR companyFolderName) override {
    return Run([&] {
      brindlex::StartUp(EnsureThreadState()->host, ObjectArg(hostObject), ViewOf(appFolderName),
                        ViewOf(companyFolderName));
    });
  }

  STDMETHODIMP GetWinSysDirFolder(IDispatch** result) override {
    return RunFor(result, [&] { *result = ToResult(brindlex::GetWinSysDirFolder(ThePlatform())); });
  }

  STDMETHODIMP EnsureFolder(BSTR path, VARIANT_BOOL* result) override {
    return RunFor(result, [&] {
      *result = ToVariantBool(brindlex::EnsureFolder(ThePlatform(), ViewOf(path)));
    });
  }

  STDMETHODIMP SettingsFolderAllUsers(BSTR* companyFolder, BSTR* result) override {
    if (companyFolder == nullptr) return E_POINTER;
    return RunFor(result, [&] {
      // A reference of its own: the host may leave the apartment from inside its object.
      const std::shared_ptr<ThreadState> state = CurrentThreadState();
      HostState none;
      Text company(ViewOf(*companyFolder));
      const Text folder = brindlex::SettingsFolderAllUsers(
          ThePlatform(), state == nullptr ? none : state->host, ThreadFolderCache(), company);
      Bstr made(folder);
      Assign(company, *companyFolder);
      *result = made.Detach();
    });
  }

  STDMETHODIMP SaveTextFile(BSTR path, BSTR text, VARIANT_BOOL quietIfDenied,
                            VARIANT_BOOL* result) override {
    return RunFor(result, [&] {
      *result = ToVariantBool(brindlex::SaveTextFile(ThePlatform(), ViewOf(path), ViewOf(text),
                                                     quietIfDenied != VARIANT_FALSE));
    });
  }

  STDMETHODIMP ReadTextFile(BSTR path, VARIANT_BOOL quietIfMissing, BSTR* result) override {
    return RunFor(result, [&] {
      *result = NewBstr(
          brindlex::ReadTextFile(ThePlatform(), ViewOf(path), quietIfMissing != VARIANT_FALSE));
    });
  }

  STDMETHODIMP FileNameFromPath(BSTR path, BSTR* result) override {
    return RunFor(result, [&] {
      *result = NewBstr(brindlex::FileNameFromPath(ThePlatform(), ViewOf(path)));
    });
  }

  STDMETHODIMP CopyFileKeepAttributes(BSTR source, BSTR destination) override {
    return Run([&] {
      brindlex::CopyFileKeepAttributes(ThePlatform(), ViewOf(source), ViewOf(destination));
    });
  }

  STDMETHODIMP SaveTextFileSafely(BSTR path, BSTR text, VARIANT_BOOL quietIfDenied,
                                  VARIANT_BOOL* result) override {
    return RunFor(result, [&] {
      *result = ToVariantBool(brindlex::SaveTextFileSafely(
          ThePlatform(), ViewOf(path), ViewOf(text), quietIfDenied != VARIANT_FALSE));
    });
  }
};

}  // namespace

IDispatch* NewAppFiles() { return new CoAppFiles; }

}  // namespace brindlex
