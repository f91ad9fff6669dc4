#pragma once

#include "automation/object.h"
#include "automation/text.h"
#include "platform/platform.h"

namespace brindlex {

/// The folders that one thread has found; empty until then. Lives as long as its thread.
struct FolderCache {
  Text appSettingsFolder;
  Text companySettingsFolder;
};

/// What the host has handed over on one thread. Nothing of it is shared between threads.
struct HostState {
  /// Read late-bound, at the moment of use: UsingFarOrFarBar (a flag) and ProgDir (a text).
  Object hostObject;
  Text appFolderName;
  Text companyFolderName;
};

/// Takes the host's object and names over in place of those before. A folder that was found stays
/// in the thread's cache.
void StartUp(HostState& state, Object hostObject, TextView appFolderName,
             TextView companyFolderName);

/// The Windows system folder as an object of the scripting run time, with the property Path. A
/// failure shows a report with the caption "Error" and yields Nothing.
Object GetWinSysDirFolder(Platform& platform);

/// Makes the folder `path` when it is missing; its parent must exist. True when it exists
/// afterwards. Never reports.
bool EnsureFolder(Platform& platform, TextView path) noexcept;

/// The settings folder that all users share, made when it is missing: company and application
/// folder below the common application-data folder; where that cannot be used, or an old system's
/// host does not want it, the host's ProgDir. `companyFolder` receives the company level, and stays
/// as it is without one. Answered from `cache`, the thread's, once it was found. Never reports; a
/// failure ends the search with what was found so far, mostly the empty text.
Text SettingsFolderAllUsers(Platform& platform, const HostState& state, FolderCache& cache,
                            Text& companyFolder) noexcept;

}  // namespace brindlex
