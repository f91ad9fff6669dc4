#pragma once

#include <memory>

#include "automation/text.h"
#include "platform/file_replacement.h"

namespace brindlex {

/// A replacement of the file `path`, with errors as Platform::NewFileReplacement has it.
///
/// The new file is in the folder of the old one, under its name, truncated where it is long, with
/// ".~saving-" and 16 random digits after it. If a name is taken, by whatever, another is drawn.
/// The file gets the old one's access-control list when it is created, and nobody else can open,
/// rename or delete it. Until Flush the system removes it when the process ends.
///
/// Whatever is done after the folder has been opened goes through the open folder and the open
/// file; nobody who renames or replaces folders or files meanwhile can redirect it. The old file is
/// replaced by a rename, since ReplaceFile, which keeps more, works in two steps with nothing under
/// the file's name in between. Permissions are the discretionary access-control list; the owner is
/// whoever saves. Paths may be longer than MAX_PATH.
///
/// Error 70 for a target that is a link, by whomever: it is neither followed nor replaced. Links in
/// the path of its folder are followed, as everywhere. Error 52 for a stream of a file.
///
/// A read-only file cannot be renamed over, so that attribute is taken from the old file just
/// before, and given back when the renaming fails.
std::unique_ptr<FileReplacement> NewWin32FileReplacement(TextView path);

}  // namespace brindlex
