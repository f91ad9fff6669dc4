#pragma once

#include <memory>

#include "automation/text.h"
#include "platform/file_replacement.h"

namespace brindlex {

/// A replacement of the file `path`, with errors as Platform::NewFileReplacement has it.
///
/// The new file is called like the old one with ".~saving" behind its name, which is cut where it
/// is long. It is open to nobody else, so that two replacements of one file are never mixed up. It
/// is put in place by renaming it over the old file, since ReplaceFile, which takes more over,
/// works in two steps with nothing under the file's name in between. Permissions are the
/// discretionary access-control list; the owner is whoever saves. A symbolic link is followed.
/// Paths may be longer than MAX_PATH.
///
/// A read-only file cannot be renamed over, so that attribute is taken from the old file just
/// before, and given back when the renaming fails.
std::unique_ptr<FileReplacement> NewWin32FileReplacement(TextView path);

}  // namespace brindlex
