#include "platform/win32/file_replacement.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/win32/file_security.h"
#include "platform/win32/system_error.h"

namespace brindlex {
namespace {

[[noreturn]] void Fail(DWORD code) { throw SystemErrorOf(code); }

// ---- Names -------------------------------------------------------------------------------------

/// `path` in full and in the form that has no limit to its length.
std::wstring UnlimitedPath(TextView path) {
  constexpr std::wstring_view kUnlimited = L"\\\\?\\";
  if (path.empty()) Fail(ERROR_PATH_NOT_FOUND);
  if (path.find(u'\0') != TextView::npos) Fail(ERROR_INVALID_NAME);
  std::wstring given(path.begin(), path.end());
  if (given.starts_with(kUnlimited)) return given;
  std::wstring full(given.size() + MAX_PATH, L'\0');
  DWORD size = 0;
  while ((size = GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(),
                                  nullptr)) > full.size()) {
    full.resize(size);
  }
  CheckSystemCall(size != 0);
  full.resize(size);
  if (full.starts_with(L"\\\\.\\")) Fail(ERROR_BAD_DEV_TYPE);
  if (full.starts_with(L"\\\\")) return std::wstring(kUnlimited).append(L"UNC").append(full, 1);
  return std::wstring(kUnlimited).append(full);
}

/// The name of the new file that is to replace `target`.
std::wstring NameBeside(const std::wstring& target) {
  // Short enough for every file system with what comes behind it.
  constexpr std::size_t kMostUnits = 80;
  const std::size_t name = target.rfind(L'\\') + 1;
  if (name == target.size()) Fail(ERROR_PATH_NOT_FOUND);
  std::size_t length = std::min(target.size() - name, kMostUnits);
  if (IS_HIGH_SURROGATE(target[name + length - 1])) --length;
  return target.substr(0, name + length).append(L".~saving");
}

/// What a link at `path` leads to in the end; `path` itself where the system cannot say.
std::wstring BehindLinks(const std::wstring& path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  auto* const file = CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) Fail(GetLastError());
  std::wstring found = FinalPathOf(file);
  CloseHandle(file);
  return found.empty() ? path : found;
}

// ---- Permissions -------------------------------------------------------------------------------

/// The access-control list of a file, as the system hands it over; empty where it has none.
std::vector<std::byte> PermissionsOf(const std::wstring& path) {
  std::vector<std::byte> descriptor;
  const DWORD code = ReadPermissions(descriptor, [&](auto* buffer, DWORD size, DWORD* needed) {
    return GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, buffer, size, needed);
  });
  if (code != ERROR_SUCCESS) Fail(code);
  return descriptor;
}

void SetPermissions(const std::wstring& path, std::vector<std::byte> descriptor) {
  const DWORD code = WritePermissions(std::move(descriptor), [&](auto* buffer) {
    return SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, buffer);
  });
  if (code != ERROR_SUCCESS) Fail(code);
}

// ---- The replacement ---------------------------------------------------------------------------

bool SetAttributes(const std::wstring& path, DWORD attributes) {
  return SetFileAttributesW(path.c_str(), attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes) !=
         FALSE;
}

/// The new file: nobody else may read or write it; renaming it is allowed while it is open.
HANDLE OpenNew(const std::wstring& path, DWORD disposition, DWORD attributes) {
  return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, disposition,
                     attributes, nullptr);
}

/// Removes what a process that was ended has left. Error 70 when it is a living one's.
void RemoveLeftover(const std::wstring& path) {
  auto* const file = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  CheckSystemCall(file != INVALID_HANDLE_VALUE);
  CloseHandle(file);
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  CheckSystemCall(DeleteFileW(path.c_str()) != FALSE);
}

class Win32FileReplacement : public FileReplacement {
 public:
  explicit Win32FileReplacement(TextView path) : target_(UnlimitedPath(path)) {
    isThere_ = LookAt(target_);
    if (isThere_ && (old_.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
      target_ = BehindLinks(target_);
      isThere_ = LookAt(target_);
    }
    beside_ = NameBeside(target_);
    file_ = Create();
  }
  Win32FileReplacement(const Win32FileReplacement&) = delete;
  Win32FileReplacement& operator=(const Win32FileReplacement&) = delete;
  ~Win32FileReplacement() override {
    CloseHandle(file_);
    if (isInPlace_) return;
    SetFileAttributesW(beside_.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(beside_.c_str());
  }

  void TakeOver() override {
    if (!isThere_) return;
    auto permissions = PermissionsOf(target_);
    if (!permissions.empty()) SetPermissions(beside_, std::move(permissions));
    // A file system that keeps no such time loses nothing.
    SetFileTime(file_, &old_.ftCreationTime, nullptr, nullptr);
    CheckSystemCall(SetAttributes(beside_, old_.dwFileAttributes & kSettableAttributes));
  }

  void Write(std::string_view bytes) override {
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 20U;
    while (!bytes.empty()) {
      const auto count = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
      DWORD written = 0;
      CheckSystemCall(WriteFile(file_, bytes.data(), count, &written, nullptr) != FALSE);
      if (written == 0) Fail(ERROR_DISK_FULL);
      bytes.remove_prefix(written);
    }
  }

  void Flush() override { CheckSystemCall(FlushFileBuffers(file_) != FALSE); }

  void Commit() override {
    const DWORD attributes = isThere_ ? old_.dwFileAttributes & kSettableAttributes : 0;
    const bool isReadOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly)
      CheckSystemCall(SetAttributes(target_, attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}));
    isInPlace_ = MoveFileExW(beside_.c_str(), target_.c_str(),
                             MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
    if (isInPlace_) return;
    const DWORD code = GetLastError();
    if (isReadOnly) SetAttributes(target_, attributes);
    Fail(code);
  }

 private:
  /// Whether there is such a file, whose state goes to `old_`.
  bool LookAt(const std::wstring& path) {
    if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &old_) == FALSE) {
      if (GetLastError() == ERROR_FILE_NOT_FOUND) return false;
      Fail(GetLastError());
    }
    if ((old_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) Fail(ERROR_ACCESS_DENIED);
    if ((old_.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) != 0) Fail(ERROR_BAD_DEV_TYPE);
    return true;
  }

  HANDLE Create() const {
    // What is encrypted on the disk stays so.
    const DWORD attributes =
        isThere_ ? old_.dwFileAttributes & FILE_ATTRIBUTE_ENCRYPTED : DWORD{FILE_ATTRIBUTE_NORMAL};
    HANDLE file = OpenNew(beside_, CREATE_NEW, attributes);
    if (file == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS) {
      RemoveLeftover(beside_);
      file = OpenNew(beside_, CREATE_NEW, attributes);
    }
    CheckSystemCall(file != INVALID_HANDLE_VALUE);
    return file;
  }

  std::wstring target_;
  std::wstring beside_;
  WIN32_FILE_ATTRIBUTE_DATA old_{};
  bool isThere_ = false;
  bool isInPlace_ = false;
  HANDLE file_ = nullptr;
};

}  // namespace

std::unique_ptr<FileReplacement> NewWin32FileReplacement(TextView path) {
  return std::make_unique<Win32FileReplacement>(path);
}

}  // namespace brindlex
