#pragma once

#include <memory>

#include "platform/file_system.h"
#include "platform/win32/automation/dispatch_adapter.h"

namespace brindlex {

/// A new FileSystemObject of the scripting run time, reached late-bound. Its system folder is an
/// object of `adapter`, which must outlive it. Error 429 where the run time is not installed.
///
/// An error that the run time gives no number of its own gets the number that hosts know for what
/// the system said: 70 for a file that is in use, 61 for a full disk, 52 for a name that no file
/// can have, 68 for a device that is none of the files. A reading that fails is an error, even
/// where the run time takes it for the end of the file.
std::unique_ptr<FileSystem> NewScriptingFileSystem(const DispatchAdapter& adapter);

}  // namespace brindlex
