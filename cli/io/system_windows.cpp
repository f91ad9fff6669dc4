#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
// The system's header of random numbers needs this one before it.
#include <windows.h>

#include <ntsecapi.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "cli/io/system.h"
#include "cli/io/system_windows.h"
#include "cli/text/utf.h"

namespace brindlex::cli::system {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

std::error_code LastErrno() { return {errno, std::generic_category()}; }

std::error_code LastWindowsError() { return ErrorOfWindows(::GetLastError()); }

Opened ResultOf(int descriptor) {
  return descriptor < 0 ? Opened{-1, LastErrno()} : Opened{descriptor, {}};
}

HANDLE HandleOf(Descriptor descriptor) {
  return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

std::optional<std::size_t> ReadAt(Descriptor from, std::uint64_t offset, char* to, std::size_t size,
                                  std::error_code& error) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
  DWORD count = 0;
  const auto most = static_cast<DWORD>(std::min<std::size_t>(size, 1U << 30));
  if (::ReadFile(HandleOf(from), to, most, &count, &place) != FALSE) return count;
  if (::GetLastError() == ERROR_HANDLE_EOF) return 0;
  error = LastWindowsError();
  return std::nullopt;
}

}  // namespace

std::error_code ErrorOfWindows(unsigned long code) {
  // The C run time's reasons are the same words in every language of Windows.
  switch (code) {
    case ERROR_SUCCESS:
      return {};
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return std::make_error_code(std::errc::file_exists);
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return std::make_error_code(std::errc::no_such_file_or_directory);
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return std::make_error_code(std::errc::permission_denied);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return std::make_error_code(std::errc::no_space_on_device);
    default:
      return std::make_error_code(std::errc::io_error);
  }
}

std::wstring Wide(const std::string& path) {
  const std::u16string units = Utf16OfUtf8(path);
  return {units.begin(), units.end()};
}

// ---- Files -------------------------------------------------------------------------------------

Opened OpenToRead(const std::string& path) {
  if (KindOf(path) == FileKind::kFolder) {
    return {-1, std::make_error_code(std::errc::is_a_directory)};
  }
  return ResultOf(::_wopen(Wide(path).c_str(), _O_RDONLY | _O_BINARY | _O_SEQUENTIAL));
}

Opened OpenToWrite(const std::string& path) {
  return ResultOf(::_wopen(Wide(path).c_str(), _O_WRONLY | _O_BINARY));
}

Opened OpenTemporary() {
  std::array<wchar_t, MAX_PATH + 1> folder{};
  std::array<wchar_t, MAX_PATH + 1> path{};
  if (::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()) == 0 ||
      ::GetTempFileNameW(folder.data(), L"bdx", 0, path.data()) == 0) {
    return {-1, LastWindowsError()};
  }
  constexpr int kFlags = _O_RDWR | _O_CREAT | _O_TRUNC | _O_BINARY | _O_TEMPORARY;
  return ResultOf(::_wopen(path.data(), kFlags, _S_IREAD | _S_IWRITE));
}

std::optional<std::size_t> Read(Descriptor from, char* to, std::size_t size, std::error_code& error,
                                std::optional<std::uint64_t> offset) {
  if (offset) return ReadAt(from, *offset, to, size, error);
  if (from == kStandardInput) ::_setmode(from, _O_BINARY);
  const int count = ::_read(from, to, static_cast<unsigned>(std::min<std::size_t>(size, 1U << 30)));
  if (count >= 0) return static_cast<std::size_t>(count);
  // The writer of a pipe has closed it.
  if (errno == EPIPE) return 0;
  error = LastErrno();
  return std::nullopt;
}

std::uint64_t Position(Descriptor descriptor) {
  const std::int64_t offset = SizeOf(descriptor) ? ::_lseeki64(descriptor, 0, SEEK_CUR) : 0;
  return offset < 0 ? 0 : static_cast<std::uint64_t>(offset);
}

std::error_code Write(Descriptor to, std::string_view bytes) {
  if (to == kStandardOutput || to == kStandardError) ::_setmode(to, _O_BINARY);
  while (!bytes.empty()) {
    const std::size_t most = std::min<std::size_t>(bytes.size(), 1U << 30);
    const int count = ::_write(to, bytes.data(), static_cast<unsigned>(most));
    // A full disk can also show as a write of nothing.
    if (count == 0) return std::make_error_code(std::errc::no_space_on_device);
    if (count < 0) return LastErrno();
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

std::error_code Synchronize(Descriptor descriptor) {
  return ::_commit(descriptor) == 0 ? std::error_code() : LastErrno();
}

std::error_code Close(Descriptor descriptor) {
  return ::_close(descriptor) == 0 ? std::error_code() : LastErrno();
}

std::optional<std::uint64_t> SizeOf(Descriptor descriptor) {
  LARGE_INTEGER size{};
  auto* const handle = HandleOf(descriptor);
  if (::GetFileType(handle) != FILE_TYPE_DISK || ::GetFileSizeEx(handle, &size) == 0) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(size.QuadPart);
}

FileKind KindOf(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesW(Wide(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::kNone;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::kFolder;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::kOther : FileKind::kRegular;
}

std::vector<std::string> Expanded(const std::string& word) {
  std::vector<std::string> found;
  WIN32_FIND_DATAW data{};
  auto* const search = word.find_first_of("*?") == std::string::npos
                           ? INVALID_HANDLE_VALUE
                           : ::FindFirstFileW(Wide(word).c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return {word};
  const std::size_t last = word.find_last_of("\\/:");
  const std::string folder = last == std::string::npos ? std::string() : word.substr(0, last + 1);
  do {
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    const std::wstring name = data.cFileName;
    found.push_back(folder + Utf8OfUtf16(std::u16string(name.begin(), name.end())));
  } while (::FindNextFileW(search, &data) != 0);
  ::FindClose(search);
  if (found.empty()) return {word};
  std::sort(found.begin(), found.end());
  return found;
}

bool FillRandom(void* to, std::size_t size) noexcept {
  return RtlGenRandom(to, static_cast<ULONG>(size)) != FALSE;
}

// ---- Terminals ---------------------------------------------------------------------------------

bool IsTerminal(Descriptor descriptor) {
  DWORD mode = 0;
  return ::GetConsoleMode(HandleOf(descriptor), &mode) != 0;
}

TerminalSize SizeOfTerminal(Descriptor descriptor) {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (::GetConsoleScreenBufferInfo(HandleOf(descriptor), &info) == 0) return {};
  const SMALL_RECT& window = info.srWindow;
  return {window.Right - window.Left + 1, window.Bottom - window.Top + 1};
}

std::string DefaultPager() {
  // more takes the console's code page, and a console can be scrolled.
  return {};
}

ShellPipe::ShellPipe(const std::string& command) : file_(::_wpopen(Wide(command).c_str(), L"wb")) {
  if (file_ != nullptr) ::SetConsoleCtrlHandler(nullptr, TRUE);
}

Descriptor ShellPipe::File() const { return file_ == nullptr ? -1 : ::_fileno(file_); }

void ShellPipe::Close() {
  if (file_ == nullptr) return;
  ::_pclose(std::exchange(file_, nullptr));
  ::SetConsoleCtrlHandler(nullptr, FALSE);
}

bool TakesColours(Descriptor descriptor) {
  constexpr DWORD kEscapeSequences = 0x0004;
  DWORD mode = 0;
  auto* const handle = HandleOf(descriptor);
  return ::GetConsoleMode(handle, &mode) != 0 &&
         ::SetConsoleMode(handle, mode | kEscapeSequences) != 0;
}

std::error_code WriteToTerminal(Descriptor to, std::string_view text) {
  const std::wstring units = Wide(std::string(text));
  // A console takes some tens of thousands of units at a time.
  constexpr std::size_t kMost = 8000;
  for (std::size_t at = 0; at < units.size(); at += kMost) {
    const auto count = static_cast<DWORD>(std::min(kMost, units.size() - at));
    DWORD written = 0;
    if (::WriteConsoleW(HandleOf(to), units.data() + at, count, &written, nullptr) == 0) {
      return LastWindowsError();
    }
  }
  return {};
}

}  // namespace brindlex::cli::system
