#include "server/classes/co_app_files.h"

#include "appfiles/settings_folders.h"
#include "appfiles/text_files.h"
#include "server/com/the_platform.h"
#include "server/com/thread_state.h"
#include "server/com/values.h"

namespace brindlex {
namespace {

/// Puts `text` in the place of the text in the caller's variable, unless it holds that already.
void Assign(TextView text, BSTR& variable) {
  if (ViewOf(variable) == text) return;
  auto* const made = NewBstr(text);
  SysFreeString(variable);
  variable = made;
}

}  // namespace

STDMETHODIMP CoAppFiles::StartUp(IDispatch* hostObject, BSTR appFolderName,
                                 BSTR companyFolderName) {
  return Run([&] {
    brindlex::StartUp(EnsureThreadState()->host, GivenObject(hostObject), ViewOf(appFolderName),
                      ViewOf(companyFolderName));
  });
}

STDMETHODIMP CoAppFiles::GetWinSysDirFolder(IDispatch** result) {
  return RunFor(result, [&] { *result = HandedOut(brindlex::GetWinSysDirFolder(ThePlatform())); });
}

STDMETHODIMP CoAppFiles::EnsureFolder(BSTR path, VARIANT_BOOL* result) {
  return RunFor(result,
                [&] { *result = FlagOf(brindlex::EnsureFolder(ThePlatform(), ViewOf(path))); });
}

STDMETHODIMP CoAppFiles::SettingsFolderAllUsers(BSTR* companyFolder, BSTR* result) {
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

STDMETHODIMP CoAppFiles::SaveTextFile(BSTR path, BSTR text, VARIANT_BOOL quietIfDenied,
                                      VARIANT_BOOL* result) {
  return RunFor(result, [&] {
    *result = FlagOf(brindlex::SaveTextFile(ThePlatform(), ViewOf(path), ViewOf(text),
                                            quietIfDenied != VARIANT_FALSE));
  });
}

STDMETHODIMP CoAppFiles::ReadTextFile(BSTR path, VARIANT_BOOL quietIfMissing, BSTR* result) {
  return RunFor(result, [&] {
    *result = NewBstr(
        brindlex::ReadTextFile(ThePlatform(), ViewOf(path), quietIfMissing != VARIANT_FALSE));
  });
}

STDMETHODIMP CoAppFiles::FileNameFromPath(BSTR path, BSTR* result) {
  return RunFor(
      result, [&] { *result = NewBstr(brindlex::FileNameFromPath(ThePlatform(), ViewOf(path))); });
}

STDMETHODIMP CoAppFiles::CopyFileKeepAttributes(BSTR source, BSTR destination) {
  return Run([&] {
    brindlex::CopyFileKeepAttributes(ThePlatform(), ViewOf(source), ViewOf(destination));
  });
}

STDMETHODIMP CoAppFiles::SaveTextFileSafely(BSTR path, BSTR text, VARIANT_BOOL quietIfDenied,
                                            VARIANT_BOOL* result) {
  return RunFor(result, [&] {
    *result = FlagOf(brindlex::SaveTextFileSafely(ThePlatform(), ViewOf(path), ViewOf(text),
                                                  quietIfDenied != VARIANT_FALSE));
  });
}

}  // namespace brindlex
