#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "cli/io/system.h"

namespace brindlex::cli::system {
namespace {

std::error_code LastError() { return {errno, std::generic_category()}; }

Opened ResultOf(int descriptor) {
  return descriptor < 0 ? Opened{-1, LastError()} : Opened{descriptor, {}};
}

}  // namespace

// ---- Files -------------------------------------------------------------------------------------

Opened OpenToRead(const std::string& path) {
  const Opened opened = ResultOf(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (opened.error) return opened;
  struct stat status {};
  if (::fstat(opened.descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
    ::close(opened.descriptor);
    return {-1, std::make_error_code(std::errc::is_a_directory)};
  }
  ::posix_fadvise(opened.descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
  return opened;
}

Opened OpenToWrite(const std::string& path) {
  const Opened opened = ResultOf(::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
  if (opened.error || !SizeOf(opened.descriptor)) return opened;
  ::close(opened.descriptor);
  return {-1, std::make_error_code(std::errc::permission_denied)};
}

Opened OpenTemporary() {
  const char* const folder = std::getenv("TMPDIR");
  std::string path = folder == nullptr || *folder == '\0' ? "/tmp" : folder;
  path += "/brindlex-XXXXXX";
  const Opened opened = ResultOf(::mkostemp(path.data(), O_CLOEXEC));
  if (!opened.error) ::unlink(path.c_str());
  return opened;
}

std::optional<std::size_t> Read(Descriptor from, char* to, std::size_t size, std::error_code& error,
                                std::optional<std::uint64_t> offset) {
  for (;;) {
    const ssize_t count =
        offset ? ::pread(from, to, size, static_cast<off_t>(*offset)) : ::read(from, to, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EINTR) continue;
    error = LastError();
    return std::nullopt;
  }
}

std::uint64_t Position(Descriptor descriptor) {
  const off_t offset = SizeOf(descriptor) ? ::lseek(descriptor, 0, SEEK_CUR) : 0;
  return offset < 0 ? 0 : static_cast<std::uint64_t>(offset);
}

std::error_code Write(Descriptor to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(to, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return LastError();
    }
  }
  return {};
}

std::error_code Synchronize(Descriptor descriptor) {
  // What is no file on a disk has nothing to wait for.
  if (::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS) return {};
  return LastError();
}

std::error_code Close(Descriptor descriptor) {
  return ::close(descriptor) == 0 ? std::error_code() : LastError();
}

std::optional<std::uint64_t> SizeOf(Descriptor descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status.st_size);
}

FileKind KindOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return FileKind::kNone;
  if (S_ISREG(status.st_mode)) return FileKind::kRegular;
  return S_ISDIR(status.st_mode) ? FileKind::kFolder : FileKind::kOther;
}

std::vector<std::string> Expanded(const std::string& word) { return {word}; }

bool FillRandom(void* to, std::size_t size) noexcept {
  auto* const bytes = static_cast<char*>(to);
  for (std::size_t filled = 0; filled < size;) {
    const ssize_t count = ::getrandom(bytes + filled, size - filled, 0);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) filled += static_cast<std::size_t>(count);
  }
  return true;
}

// ---- Terminals ---------------------------------------------------------------------------------

bool IsTerminal(Descriptor descriptor) { return ::isatty(descriptor) == 1; }

TerminalSize SizeOfTerminal(Descriptor descriptor) {
  struct winsize size {};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0) return {};
  return {size.ws_col, size.ws_row};
}

std::string DefaultPager() {
  // less shows what fits on one screen as it is, and long lines truncated.
  return "if command -v less >/dev/null 2>&1; then LESS=\"${LESS-FRSX}\" exec less; fi; exec cat";
}

ShellPipe::ShellPipe(const std::string& command) : file_(::popen(command.c_str(), "w")) {
  if (file_ == nullptr) return;
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGINT, SIG_IGN);
}

Descriptor ShellPipe::File() const { return file_ == nullptr ? -1 : ::fileno(file_); }

void ShellPipe::Close() {
  if (file_ == nullptr) return;
  ::pclose(std::exchange(file_, nullptr));
  std::signal(SIGINT, SIG_DFL);
}

bool TakesColours(Descriptor) { return true; }

std::error_code WriteToTerminal(Descriptor to, std::string_view text) { return Write(to, text); }

}  // namespace brindlex::cli::system
