#pragma once

#include <windows.h>

#include <shtypes.h>

namespace brindlex {

/// The system's shell, which is loaded when it is first asked: of all the DLLs that the component
/// uses it is the one that takes long to load, and few hosts need it. Any thread may call.

/// As SHGetSpecialFolderLocation without a window: the folder `csidl` as an item id list, for
/// CoTaskMemFree to free. The system's error, and null, when there is none.
HRESULT SpecialFolderLocation(int csidl, PIDLIST_ABSOLUTE& list) noexcept;

/// As SHGetPathFromIDListA: the path of `list`, into `path` of MAX_PATH bytes, in the
/// system's ANSI code page. 0 when there is none.
BOOL PathFromIdList(PCIDLIST_ABSOLUTE list, char* path) noexcept;

}  // namespace brindlex
