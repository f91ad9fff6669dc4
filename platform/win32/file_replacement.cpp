#include "platform/win32/file_replacement.h"

#include <windows.h>

#include <ntsecapi.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/win32/file_security.h"
#include "platform/win32/native_file.h"
#include "platform/win32/system_error.h"

namespace brindlex {
namespace {

[[noreturn]] void Fail(DWORD code) { throw SystemErrorOf(code); }

void CheckCode(DWORD code) {
  if (code != ERROR_SUCCESS) Fail(code);
}

// ---- Paths and names ---------------------------------------------------------------------------

constexpr std::wstring_view kUnlimited = L"\\\\?\\";

/// `path` in full; error 68 for a device.
std::wstring FullPath(const std::wstring& path) {
  std::wstring full(path.size() + MAX_PATH, L'\0');
  DWORD size = 0;
  while ((size = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(),
                                  nullptr)) > full.size()) {
    full.resize(size);
  }
  CheckSystemCall(size != 0);
  full.resize(size);
  if (full.starts_with(L"\\\\.\\")) Fail(ERROR_BAD_DEV_TYPE);
  return full;
}

bool StartsWith(std::wstring_view text, std::wstring_view start) {
  return text.size() >= start.size() &&
         std::equal(start.begin(), start.end(), text.begin(), [](wchar_t left, wchar_t right) {
           return FoldCase(static_cast<char16_t>(left)) == FoldCase(static_cast<char16_t>(right));
         });
}

/// Error 68 unless `path`, which starts with kUnlimited, is that of a file on a drive, a volume or
/// a share. The system takes such a path as it is, so devices are looked for here.
void CheckUnlimitedPath(const std::wstring& path) {
  const std::wstring_view rest = std::wstring_view(path).substr(kUnlimited.size());
  const bool isOnDrive = rest.size() > 2 && rest[1] == L':' && rest[2] == L'\\';
  if (!isOnDrive && !StartsWith(rest, L"UNC\\") && !StartsWith(rest, L"Volume{")) {
    Fail(ERROR_BAD_DEV_TYPE);
  }
  FullPath(std::wstring(L"C:\\").append(rest.substr(rest.rfind(L'\\') + 1)));
}

/// `path` in full and in the form that has no limit to its length.
std::wstring UnlimitedPath(TextView path) {
  if (path.empty()) Fail(ERROR_PATH_NOT_FOUND);
  if (path.find(u'\0') != TextView::npos) Fail(ERROR_INVALID_NAME);
  std::wstring given(path.begin(), path.end());
  if (given.starts_with(kUnlimited)) {
    CheckUnlimitedPath(given);
    return given;
  }
  const std::wstring full = FullPath(given);
  if (full.starts_with(L"\\\\")) return std::wstring(kUnlimited).append(L"UNC").append(full, 1);
  return std::wstring(kUnlimited).append(full);
}

/// Whether `folder`, which starts with kUnlimited and ends in a backslash, is the root of a drive,
/// a volume or a share.
bool IsRoot(const std::wstring& folder) {
  const std::wstring_view rest = std::wstring_view(folder).substr(kUnlimited.size());
  const std::ptrdiff_t depth = std::count(rest.begin(), rest.end(), L'\\');
  return depth == (StartsWith(rest, L"UNC\\") ? 3 : 1);
}

/// A name for the new file that nobody can know in advance.
std::wstring TemporaryName(const std::wstring& target) {
  // With what follows at most 255 units, and 255 bytes of UTF-8 on file systems that count those.
  constexpr std::size_t kMostUnits = 70;
  std::size_t length = std::min(target.size(), kMostUnits);
  if (IS_HIGH_SURROGATE(target[length - 1])) --length;
  std::uint64_t random = 0;
  if (RtlGenRandom(&random, sizeof random) == FALSE) Fail(ERROR_GEN_FAILURE);
  std::wstring name = target.substr(0, length).append(L".~saving-");
  for (int digit = 0; digit < 16; ++digit, random >>= 4U) {
    name.push_back(L"0123456789abcdef"[random & 0xFU]);
  }
  return name;
}

// ---- The folder and the old file ---------------------------------------------------------------

BY_HANDLE_FILE_INFORMATION InformationOf(const FileHandle& file) {
  BY_HANDLE_FILE_INFORMATION information{};
  CheckSystemCall(GetFileInformationByHandle(file.Get(), &information) != FALSE);
  return information;
}

/// Opens a folder whose path ends in a backslash. Error 76 if there is none.
FileHandle OpenFolder(std::wstring path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const bool isRoot = IsRoot(path);
  if (!isRoot) path.pop_back();
  auto* const folder = CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (folder == INVALID_HANDLE_VALUE) {
    const DWORD code = GetLastError();
    Fail(code == ERROR_FILE_NOT_FOUND && !isRoot ? ERROR_PATH_NOT_FOUND : code);
  }
  FileHandle opened(folder);
  if ((InformationOf(opened).dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    Fail(ERROR_PATH_NOT_FOUND);
  }
  return opened;
}

/// The file that is replaced.
struct OldFile {
  bool exists = false;
  DWORD attributes = 0;
  FILETIME creationTime{};
  /// Its access-control list, or why it cannot be read; empty if the file system has none.
  std::vector<std::byte> permissions;
  DWORD permissionsError = ERROR_SUCCESS;
};

/// Error 70 for a link, 68 for a device.
void CheckReplaceable(const FileHandle& file, DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) Fail(ERROR_ACCESS_DENIED);
  if ((attributes & FILE_ATTRIBUTE_DEVICE) != 0) Fail(ERROR_BAD_DEV_TYPE);
  if (GetFileType(file.Get()) != FILE_TYPE_DISK) Fail(ERROR_BAD_DEV_TYPE);
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return;
  DWORD tag = 0;
  CheckCode(ReadReparseTag(file.Get(), tag));
  // Other reparse points are files that are stored elsewhere or in another form.
  if (IsReparseTagNameSurrogate(tag)) Fail(ERROR_ACCESS_DENIED);
}

void ReadOldPermissions(const FileHandle& folder, const std::wstring& name, OldFile& old) {
  FileHandle file;
  old.permissionsError = OpenFileIn(folder.Get(), name, {READ_CONTROL}, file);
  if (old.permissionsError != ERROR_SUCCESS) return;
  old.permissionsError =
      ReadPermissions(old.permissions, [&](auto* buffer, DWORD size, DWORD* needed) {
        return GetKernelObjectSecurity(file.Get(), DACL_SECURITY_INFORMATION, buffer, size, needed);
      });
}

OldFile LookAt(const FileHandle& folder, const std::wstring& name) {
  OldFile old;
  FileHandle file;
  const DWORD code = OpenFileIn(folder.Get(), name, {FILE_READ_ATTRIBUTES}, file);
  if (code == ERROR_FILE_NOT_FOUND) return old;
  CheckCode(code);
  const BY_HANDLE_FILE_INFORMATION information = InformationOf(file);
  CheckReplaceable(file, information.dwFileAttributes);
  old.exists = true;
  old.attributes = information.dwFileAttributes;
  old.creationTime = information.ftCreationTime;
  ReadOldPermissions(folder, name, old);
  return old;
}

// ---- The replacement ---------------------------------------------------------------------------

class Win32FileReplacement : public FileReplacement {
 public:
  explicit Win32FileReplacement(TextView path) : path_(UnlimitedPath(path)) {
    const std::size_t name = path_.rfind(L'\\') + 1;
    name_ = path_.substr(name);
    folder_ = OpenFolder(path_.substr(0, name));
    if (name_.empty()) Fail(ERROR_ACCESS_DENIED);
    // What follows a colon is a stream of a file.
    if (name_.find(L':') != std::wstring::npos) Fail(ERROR_INVALID_NAME);
    old_ = LookAt(folder_, name_);
    file_ = Create();
    // A system that refuses leaves it to the destructor.
    SetDeleteOnClose(file_.Get(), true);
  }
  Win32FileReplacement(const Win32FileReplacement&) = delete;
  Win32FileReplacement& operator=(const Win32FileReplacement&) = delete;
  ~Win32FileReplacement() override {
    if (isInPlace_) return;
    // The system removes no read-only file.
    SetAttributesOf(file_.Get(), 0);
    SetDeleteOnClose(file_.Get(), true);
  }

  void TakeOver() override {
    if (!old_.exists) return;
    CheckCode(old_.permissionsError);
    // When the file was created the system added what the folder hands down.
    if (!old_.permissions.empty()) {
      CheckCode(WritePermissions(old_.permissions, [&](auto* buffer) {
        return SetKernelObjectSecurity(file_.Get(), DACL_SECURITY_INFORMATION, buffer);
      }));
    }
    // A file system that keeps no such time loses nothing.
    SetFileTime(file_.Get(), &old_.creationTime, nullptr, nullptr);
    CheckCode(SetAttributesOf(file_.Get(), old_.attributes & kSettableAttributes));
  }

  void Write(std::string_view bytes) override {
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 20U;
    while (!bytes.empty()) {
      const auto count = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
      DWORD written = 0;
      CheckSystemCall(WriteFile(file_.Get(), bytes.data(), count, &written, nullptr) != FALSE);
      if (written == 0) Fail(ERROR_DISK_FULL);
      bytes.remove_prefix(written);
    }
  }

  void Flush() override {
    // Before, since a file system need not bring to the disk what it is to remove.
    CheckCode(SetDeleteOnClose(file_.Get(), false));
    CheckSystemCall(FlushFileBuffers(file_.Get()) != FALSE);
  }

  void Commit() override {
    WaitUntilNotInUse();
    const DWORD attributes = old_.exists ? old_.attributes & kSettableAttributes : 0;
    const bool isReadOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly) CheckCode(SetOldAttributes(attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}));
    const DWORD code = RenameOver(file_.Get(), folder_.Get(), name_, path_);
    isInPlace_ = code == ERROR_SUCCESS;
    if (isInPlace_) return;
    if (isReadOnly) SetOldAttributes(attributes);
    Fail(code);
  }

 private:
  /// Error 70 when somebody has the old file open so that it cannot be replaced, and still has it
  /// after a tenth of a second, which another save or a reader of a small file needs less than.
  /// Before its attributes are touched; and not every system finds out when it renames.
  void WaitUntilNotInUse() const {
    constexpr int kAttempts = 10;
    constexpr DWORD kPauseMs = 10;
    DWORD code = ERROR_SHARING_VIOLATION;
    for (int attempt = 0; code == ERROR_SHARING_VIOLATION && attempt < kAttempts; ++attempt) {
      if (attempt != 0) Sleep(kPauseMs);
      FileHandle file;
      code = OpenFileIn(folder_.Get(), name_, {DELETE}, file);
    }
    if (code != ERROR_FILE_NOT_FOUND) CheckCode(code);
  }

  DWORD SetOldAttributes(DWORD attributes) const {
    FileHandle file;
    const DWORD code = OpenFileIn(folder_.Get(), name_, {FILE_WRITE_ATTRIBUTES}, file);
    return code == ERROR_SUCCESS ? SetAttributesOf(file.Get(), attributes) : code;
  }

  /// The new file: nobody else can open it, and so nobody can rename or delete it.
  FileHandle Create() {
    FileOpening opening{GENERIC_WRITE | DELETE, 0, true};
    if (!old_.permissions.empty() && old_.permissionsError == ERROR_SUCCESS) {
      opening.access |= WRITE_DAC;
      opening.security = old_.permissions.data();
    }
    // What is encrypted on the disk stays so.
    if (old_.exists && (old_.attributes & FILE_ATTRIBUTE_ENCRYPTED) != 0) {
      opening.attributes = FILE_ATTRIBUTE_ENCRYPTED;
    }
    constexpr int kMostNames = 8;
    FileHandle file;
    DWORD code = ERROR_ALREADY_EXISTS;
    for (int name = 0; name < kMostNames && code == ERROR_ALREADY_EXISTS; ++name) {
      code = OpenFileIn(folder_.Get(), TemporaryName(name_), opening, file);
    }
    CheckCode(code);
    return file;
  }

  std::wstring path_;
  std::wstring name_;
  FileHandle folder_;
  OldFile old_;
  bool isInPlace_ = false;
  FileHandle file_;
};

}  // namespace

std::unique_ptr<FileReplacement> NewWin32FileReplacement(TextView path) {
  return std::make_unique<Win32FileReplacement>(path);
}

}  // namespace brindlex
