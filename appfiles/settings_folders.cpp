#include "appfiles/settings_folders.h"

#include <optional>
#include <utility>

#include "environment/mod_get_os.h"
#include "environment/mod_system_folders.h"
#include "environment/report.h"
#include "environment/trap.h"

namespace brindlex {
namespace {

constexpr MemberName kUsingFarOrFarBar = u"UsingFarOrFarBar";
constexpr TextView kProgDir = u"ProgDir";

Report SystemFolderReport(const PendingError& pending) {
  Text text =
      u"Error locating WinSysDirFolder. Please install a complete copy of the program, or contact"
      u" its supplier for a complete installation disk.\r\n\r\n";
  text.append(pending.error.description);
  text.append(u" Error Number: ").append(DecimalText(pending.error.number));
  text.append(u" Line ").append(DecimalText(pending.line));
  return ReportOf(pending, u"Error", std::move(text));
}

Text Joined(TextView folder, TextView name) { return Text(folder).append(u"\\").append(name); }

/// The application's folder in the tree that all users share, made where it is missing; nothing
/// when the tree cannot be used. The company level is handed to `companyFolder` and to the cache as
/// soon as it exists.
std::optional<Text> FolderInCommonTree(Platform& platform, const HostState& state,
                                       FolderCache& cache, Text& companyFolder) {
  const Text root = FindSystemFolder(platform, kCommonAppData);
  if (root.empty() || !EnsureFolder(platform, root)) return std::nullopt;

  const Text company = Joined(root, state.companyFolderName);
  if (!EnsureFolder(platform, company)) return std::nullopt;
  companyFolder = company;
  cache.companySettingsFolder = company;

  Text application = Joined(company, state.appFolderName);
  if (!EnsureFolder(platform, application)) return std::nullopt;
  return application;
}

}  // namespace

void StartUp(HostState& state, Object hostObject, TextView appFolderName,
             TextView companyFolderName) {
  Text application(appFolderName);
  Text company(companyFolderName);
  state.appFolderName.swap(application);
  state.companyFolderName.swap(company);
  std::swap(state.hostObject, hostObject);
}

Object GetWinSysDirFolder(Platform& platform) {
  Object result;
  Trap([&](CurrentLine&) { result = platform.NewFileSystem()->SystemFolder(); },
       [&](const PendingError& pending) { platform.ShowReport(SystemFolderReport(pending)); });
  return result;
}

bool EnsureFolder(Platform& platform, TextView path) noexcept {
  bool exists = false;
  TrapSilently([&] {
    const auto files = platform.NewFileSystem();
    if (!files->FolderExists(path)) {
      // Somebody else may make it at the same moment: what counts is that it is there then.
      TrapSilently([&] { files->CreateFolder(path); });
    }
    exists = files->FolderExists(path);
  });
  return exists;
}

Text SettingsFolderAllUsers(Platform& platform, const HostState& state, FolderCache& cache,
                            Text& companyFolder) noexcept {
  Text result;
  TrapSilently([&] {
    if (!cache.appSettingsFolder.empty()) {
      result = cache.appSettingsFolder;
      companyFolder = cache.companySettingsFolder;
      return;
    }
    // References of their own: the host may hand another object over from inside a property.
    const bool wantsProgDir = Object(state.hostObject).GetFlag(kUsingFarOrFarBar);
    if (IsWindowsVista(platform) || !wantsProgDir) {
      if (const auto folder = FolderInCommonTree(platform, state, cache, companyFolder)) {
        cache.appSettingsFolder = *folder;
        result = *folder;
        return;
      }
    }
    result = Object(state.hostObject).GetText(kProgDir);
    cache.appSettingsFolder = Object(state.hostObject).GetText(kProgDir);
  });
  return result;
}

}  // namespace brindlex
