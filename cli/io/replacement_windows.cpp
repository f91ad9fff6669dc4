#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "cli/io/replacement.h"
#include "cli/io/system_windows.h"
#include "cli/text/utf.h"
#include "platform/win32/file_security.h"

namespace brindlex::cli::system {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::error_code LastError() { return ErrorOfWindows(::GetLastError()); }

/// Owns a file's handle; null for none.
class Handle {
 public:
  Handle() = default;
  Handle(const std::wstring& path, DWORD access, DWORD flags)
      : Handle(::CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, flags,
                             nullptr)) {}
  explicit Handle(HANDLE file) : file_(file == INVALID_HANDLE_VALUE ? nullptr : file) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (file_ != nullptr) ::CloseHandle(file_);
  }

  explicit operator bool() const { return file_ != nullptr; }
  HANDLE Get() const { return file_; }
  HANDLE Release() { return std::exchange(file_, nullptr); }

 private:
  HANDLE file_ = nullptr;
};

// ---- Removing temporary files when the process is ended ----------------------------------------

/// A temporary file that is to be removed; empty for none.
std::array<std::wstring, 2> removals;

/// Guards removals, as long as there is a process.
struct CriticalSection : CRITICAL_SECTION {
  CriticalSection() { ::InitializeCriticalSection(this); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  ~CriticalSection() = default;

  void lock() { ::EnterCriticalSection(this); }
  void unlock() { ::LeaveCriticalSection(this); }
};
CriticalSection removalsSection;
using RemovalsLock = std::lock_guard<CriticalSection>;

/// The system calls it on a thread of its own, and ends the process then.
BOOL WINAPI RemoveAtEnd(DWORD) {
  const RemovalsLock lock(removalsSection);
  for (const std::wstring& path : removals) {
    if (!path.empty()) ::DeleteFileW(path.c_str());
  }
  return FALSE;
}

// ---- What killed runs have left ----------------------------------------------------------------

std::string Utf8OfWide(const std::wstring& text) {
  return Utf8OfUtf16(std::u16string(text.begin(), text.end()));
}

/// A file that a run holds open cannot be opened without sharing.
void RemoveWhatWasLeft(const std::wstring& folder, const std::string& targetName) {
  WIN32_FIND_DATAW found{};
  auto* const search = ::FindFirstFileW((folder + L"*.partial").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    if (!IsTemporaryName(Utf8OfWide(found.cFileName), targetName)) continue;
    const Handle removed(
        ::CreateFileW((folder + found.cFileName).c_str(), DELETE, 0, nullptr, OPEN_EXISTING,
                      FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  } while (::FindNextFileW(search, &found) != FALSE);
  ::FindClose(search);
}

// ---- What is kept of a file --------------------------------------------------------------------

/// Gives `to` the access-control list of `from`.
std::error_code CopyPermissions(HANDLE from, HANDLE to) {
  std::vector<std::byte> descriptor;
  DWORD code = ReadPermissions(descriptor, [&](auto* buffer, DWORD size, DWORD* needed) {
    return ::GetKernelObjectSecurity(from, DACL_SECURITY_INFORMATION, buffer, size, needed);
  });
  if (code != ERROR_SUCCESS || descriptor.empty()) return ErrorOfWindows(code);
  code = WritePermissions(std::move(descriptor), [&](auto* buffer) {
    return ::SetKernelObjectSecurity(to, DACL_SECURITY_INFORMATION, buffer);
  });
  return ErrorOfWindows(code);
}

/// Gives the file `to`, whose path is `path`, attributes and time of creation of `from`.
std::error_code CopyAttributes(HANDLE from, HANDLE to, const std::wstring& path) {
  BY_HANDLE_FILE_INFORMATION old{};
  if (::GetFileInformationByHandle(from, &old) == FALSE) return LastError();
  // A file system that keeps no such time loses nothing.
  ::SetFileTime(to, &old.ftCreationTime, nullptr, nullptr);
  const DWORD attributes = old.dwFileAttributes & kSettableAttributes;
  // Windows XP sets attributes by the path alone.
  const BOOL done = ::SetFileAttributesW(
      path.c_str(), attributes == 0 ? DWORD{FILE_ATTRIBUTE_NORMAL} : attributes);
  return done != FALSE ? std::error_code() : LastError();
}

}  // namespace

// ---- Replacement -------------------------------------------------------------------------------

struct Replacement::State {
  /// Where the file is or will be, links followed.
  std::wstring target;
  FileKind kind = FileKind::kNone;
  std::wstring temporary;
  Descriptor file = -1;
  std::wstring* removal = nullptr;

  HANDLE FileHandle() const { return reinterpret_cast<HANDLE>(::_get_osfhandle(file)); }
  std::error_code CreateTemporary(DWORD attributes);
  std::error_code TakePermissions() const;
};

Replacement::Replacement() : state_(std::make_unique<State>()) {}

Replacement::~Replacement() {
  if (state_->removal == nullptr) return;
  if (state_->file >= 0) system::Close(state_->file);
  const RemovalsLock lock(removalsSection);
  if (!state_->temporary.empty()) ::DeleteFileW(state_->temporary.c_str());
  state_->removal->clear();
}

std::error_code Replacement::Find(const std::string& path) {
  state_->target = Wide(path);
  const DWORD attributes = ::GetFileAttributesW(state_->target.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD code = ::GetLastError();
    return code == ERROR_FILE_NOT_FOUND ? std::error_code() : ErrorOfWindows(code);
  }
  state_->kind = KindOf(path);
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return {};
  const Handle reached(state_->target, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  if (!reached) {
    // A link that leads nowhere is a file that is there.
    state_->kind = FileKind::kRegular;
    const DWORD code = ::GetLastError();
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ? std::error_code()
                                                                        : ErrorOfWindows(code);
  }
  const std::wstring target = FinalPathOf(reached.Get());
  if (!target.empty()) state_->target = target;
  return {};
}

FileKind Replacement::Kind() const { return state_->kind; }

// Nobody else can open it for reading or writing; others may delete it, as RemoveAtEnd does while
// it is open.
std::error_code Replacement::State::CreateTemporary(DWORD attributes) {
  Handle created(::CreateFileW(temporary.c_str(), GENERIC_WRITE | WRITE_DAC, FILE_SHARE_DELETE,
                               nullptr, CREATE_NEW, attributes, nullptr));
  if (!created) return LastError();
  file = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(created.Get()), _O_BINARY);
  if (file < 0) {
    const std::error_code error{errno, std::generic_category()};
    ::DeleteFileW(temporary.c_str());
    return error;
  }
  (void)created.Release();
  return {};
}

std::error_code Replacement::State::TakePermissions() const {
  if (kind != FileKind::kRegular) return {};
  const Handle old(target, READ_CONTROL, FILE_FLAG_OPEN_REPARSE_POINT);
  return old ? CopyPermissions(old.Get(), FileHandle()) : LastError();
}

std::error_code Replacement::Create() {
  const std::size_t name = state_->target.find_last_of(L"\\/:") + 1;
  const std::wstring folder = state_->target.substr(0, name);
  const std::wstring last = state_->target.substr(name);
  RemoveWhatWasLeft(folder, Utf8OfWide(last));
  const std::string temporary = TemporaryName(Utf8OfWide(last));
  if (temporary.empty()) return std::make_error_code(std::errc::io_error);
  DWORD old = ::GetFileAttributesW(state_->target.c_str());
  if (old == INVALID_FILE_ATTRIBUTES) old = 0;
  // Windows does not rename over it; found out before there is something to lose.
  if ((old & FILE_ATTRIBUTE_READONLY) != 0) return ErrorOfWindows(ERROR_ACCESS_DENIED);
  // What is encrypted on the disk stays so.
  const bool isEncrypted = (old & FILE_ATTRIBUTE_ENCRYPTED) != 0;
  const RemovalsLock lock(removalsSection);
  std::wstring* free = nullptr;
  for (std::wstring& removal : removals) {
    if (removal.empty()) free = &removal;
  }
  if (free == nullptr) return std::make_error_code(std::errc::too_many_files_open);
  state_->temporary = folder + Wide(temporary);
  const std::error_code error = state_->CreateTemporary(
      isEncrypted ? DWORD{FILE_ATTRIBUTE_ENCRYPTED} : DWORD{FILE_ATTRIBUTE_NORMAL});
  if (error) return error;
  static const BOOL isCaught = ::SetConsoleCtrlHandler(RemoveAtEnd, TRUE);
  (void)isCaught;
  *free = state_->temporary;
  state_->removal = free;
  return state_->TakePermissions();
}

Descriptor Replacement::File() const { return state_->file; }

std::error_code Replacement::Commit(bool overwrite) {
  if (const auto error = Synchronize(state_->file)) return error;
  if (state_->kind == FileKind::kRegular) {
    const Handle old(state_->target, FILE_READ_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT);
    const auto error = old ? CopyAttributes(old.Get(), state_->FileHandle(), state_->temporary)
                           : std::error_code();
    if (error) return error;
  }
  // Still open, so that nobody gets hold of it before it has its name.
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (overwrite ? MOVEFILE_REPLACE_EXISTING : 0);
  if (::MoveFileExW(state_->temporary.c_str(), state_->target.c_str(), flags) == FALSE) {
    return LastError();
  }
  state_->temporary.clear();
  return system::Close(std::exchange(state_->file, -1));
}

}  // namespace brindlex::cli::system
