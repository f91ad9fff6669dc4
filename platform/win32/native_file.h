#pragma once

#include <windows.h>

#include <string>
#include <utility>

namespace brindlex {

/// Owns the handle of a file or folder; null for none.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(HANDLE handle) : handle_(handle) {}
  FileHandle(FileHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  FileHandle& operator=(FileHandle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~FileHandle() {
    if (handle_ != nullptr) CloseHandle(handle_);
  }

  HANDLE Get() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

// The calls below use the system's native interface, which every Windows NT has in the same form:
// what they do is relative to an open folder or goes through an open file. So a folder or file that
// somebody else puts under the same name meanwhile makes no difference. Each returns a Windows
// error code, ERROR_SUCCESS without an error.

/// How a file is opened or created.
struct FileOpening {
  ACCESS_MASK access = 0;
  ULONG sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  /// Create it, and fail with ERROR_ALREADY_EXISTS if there is anything of that name.
  bool isNew = false;
  /// Of a new file. Its data and its name are on the disk when the call that changes them returns.
  ULONG attributes = FILE_ATTRIBUTE_NORMAL;
  PSECURITY_DESCRIPTOR security = nullptr;
};

/// Opens the file `name` in `folder`. A link is opened itself, not what it leads to. `name` must be
/// the name alone, without a folder. Error ERROR_FILE_NOT_FOUND if there is none, and
/// ERROR_ACCESS_DENIED for a folder.
DWORD OpenFileIn(HANDLE folder, const std::wstring& name, const FileOpening& opening,
                 FileHandle& file);

/// Sets attributes; 0 for none of them. The file must be open for FILE_WRITE_ATTRIBUTES.
DWORD SetAttributesOf(HANDLE file, DWORD attributes);

/// Whether the system removes the file when its handle is closed, however the process ends. The
/// file must be open for DELETE. Nobody can open the file meanwhile.
DWORD SetDeleteOnClose(HANDLE file, bool isDeleted);

/// Renames the file, which must be open for DELETE, to `name` in `folder`, over a file of that name
/// if there is one. Where the file system cannot rename relative to a folder, it is renamed to
/// `path`, which begins with "\\?\".
DWORD RenameOver(HANDLE file, HANDLE folder, const std::wstring& name, const std::wstring& path);

/// The tag of a file that has FILE_ATTRIBUTE_REPARSE_POINT, by `tag`.
DWORD ReadReparseTag(HANDLE file, DWORD& tag);

}  // namespace brindlex
