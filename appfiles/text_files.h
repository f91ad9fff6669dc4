#pragma once

#include "automation/text.h"
#include "platform/platform.h"

namespace brindlex {

/// Writes `text` to the file `path` in the system's code page, in place of any earlier content. A
/// file that was there keeps its attributes, read-only and hidden included. True when the file is
/// written and closed. A failure shows the report "[FFS-FSO-KX]" with the whole text, unless it is
/// error 70 and `quietIfDenied` is set; the file then keeps what was written so far, and has lost
/// its attributes.
///
/// Lines: 1 clearing the attributes, 2 creating the file, 3 writing, 4 closing, 5 setting the
/// attributes back; 0 before.
bool SaveTextFile(Platform& platform, TextView path, TextView text, bool quietIfDenied);

/// As SaveTextFile, but never at the cost of the old content, which is there until the new one is
/// whole: the text goes to a new file beside `path`, is brought to the disk, and takes the old
/// one's place in one step, with its attributes and permissions. Whenever the process or the
/// machine stops, the file holds the old text or the new; after a failure it is as it was. A text
/// that the system's code page cannot hold is refused (error 5, which says where). The report is
/// "[FFS-SAFE-KX]".
///
/// Lines: 1 putting the text into the code page, 2 creating the new file, 3 taking over permissions
/// and attributes, 4 writing, 5 bringing it to the disk, 6 putting it in place.
bool SaveTextFileSafely(Platform& platform, TextView path, TextView text, bool quietIfDenied);

/// The whole content of the file `path`, read in the system's code page; empty after any failure,
/// of which an empty file is one (error 62). A failure shows the report "[FTS-FSO]" with the path,
/// or "[FTS-W]" with the file's name alone below the system folder, unless it is error 53 of the
/// opening and `quietIfMissing` is set. Error 91 when the system folder, which the report needs,
/// cannot be found.
///
/// Lines: 1 opening the file, 2 reading, 3 closing; 0 before.
Text ReadTextFile(Platform& platform, TextView path, bool quietIfMissing);

/// What follows the last backslash of `path`, one at its end not counted. A failure shows
/// "Error FN1" and yields the empty text.
Text FileNameFromPath(Platform& platform, TextView path);

/// Copies the file `source` over `destination`, which keeps the attributes that it had; a new one
/// gets those that the copy gives it. Traps nothing; after a failure the attributes of
/// `destination` may be lost.
void CopyFileKeepAttributes(Platform& platform, TextView source, TextView destination);

}  // namespace brindlex
