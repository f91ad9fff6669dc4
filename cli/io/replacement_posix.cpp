#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <optional>
#include <utility>

#include "cli/io/posix_acl.h"
#include "cli/io/replacement.h"

namespace brindlex::cli::system {
namespace {

std::error_code LastError() { return {errno, std::generic_category()}; }

/// Owns a descriptor of this source's own; negative for none.
class Handle {
 public:
  Handle() = default;
  explicit Handle(int descriptor) : descriptor_(descriptor) {}
  Handle(Handle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  Handle(const Handle&) = delete;
  ~Handle() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  explicit operator bool() const { return descriptor_ >= 0; }
  int Get() const { return descriptor_; }
  int Release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

// ---- Removing temporary files when the process is ended ----------------------------------------

constexpr int kEndings[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

/// A temporary file that is to be removed; `folder` stays open while `isSet`.
struct Removal {
  volatile std::sig_atomic_t isSet = 0;
  int folder = -1;
  std::array<char, NAME_MAX + 1> name{};
};
std::array<Removal, 2> removals;

// Calls nothing but what a signal handler may.
extern "C" void RemoveAndEnd(int signal) {
  for (const Removal& removal : removals) {
    if (removal.isSet != 0) ::unlinkat(removal.folder, removal.name.data(), 0);
  }
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

void CatchSignals() {
  for (const int signal : kEndings) {
    // A signal that is ignored, under nohup say, stays ignored.
    struct sigaction current {};
    if (::sigaction(signal, nullptr, &current) != 0 || current.sa_handler != SIG_DFL) continue;
    struct sigaction action {};
    action.sa_handler = RemoveAndEnd;
    ::sigaction(signal, &action, nullptr);
  }
}

/// Signals that would end the process wait while one lives. The program has one thread.
class EndingsWait {
 public:
  EndingsWait() {
    sigset_t endings;
    ::sigemptyset(&endings);
    for (const int signal : kEndings) ::sigaddset(&endings, signal);
    ::sigprocmask(SIG_BLOCK, &endings, &before_);
  }
  EndingsWait(const EndingsWait&) = delete;
  EndingsWait& operator=(const EndingsWait&) = delete;
  ~EndingsWait() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

// ---- What killed runs have left ----------------------------------------------------------------

bool Lock(int file) { return ::flock(file, LOCK_EX | LOCK_NB) == 0; }

/// Whether a temporary file that was just created is held against other runs. A file system without
/// locks has no run that removes it either.
bool HoldsNewFile(int file) {
  if (!Lock(file)) return errno != EWOULDBLOCK;
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_nlink == 1;
}

/// Removes `name` if it is a file of the user that no run holds.
void RemoveLeft(int folder, const char* name) {
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const Handle file(::openat(folder, name, kFlags));
  struct stat status {};
  if (!file || ::fstat(file.Get(), &status) != 0) return;
  const bool isOwn =
      S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1;
  if (!isOwn || !Lock(file.Get())) return;
  // It may have got its own name while the lock was waited for.
  struct stat now {};
  const bool isSame = ::fstatat(folder, name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
                      now.st_dev == status.st_dev && now.st_ino == status.st_ino;
  if (isSame) ::unlinkat(folder, name, 0);
}

void RemoveWhatWasLeft(int folder, const std::string& targetName) {
  const int list = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (list < 0) return;
  DIR* const entries = ::fdopendir(list);
  if (entries == nullptr) {
    ::close(list);
    return;
  }
  while (const dirent* const entry = ::readdir(entries)) {
    if (IsTemporaryName(entry->d_name, targetName)) RemoveLeft(folder, entry->d_name);
  }
  ::closedir(entries);
}

// ---- Where a path leads ------------------------------------------------------------------------

/// Where a file is, or can be made.
struct Place {
  Handle folder;
  std::string name;
};

bool LooksLikeFolder(const std::string& name) {
  return name.empty() || name == "." || name == "..";
}

/// Opens the folder of `path`, which counts from `base`.
std::error_code FindFolder(int base, const std::string& path, Place& place) {
  const std::size_t slash = path.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  const std::string folder = start == 0 ? "." : path.substr(0, start);
  place.name = path.substr(start);
  place.folder = Handle(::openat(base, folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!place.folder) return LastError();
  if (LooksLikeFolder(place.name)) return std::make_error_code(std::errc::is_a_directory);
  return {};
}

/// Whether `entry` is somebody else's in a folder where anyone may put something: what the kernel's
/// protected_symlinks and protected_regular refuse, whether they are on or not.
bool IsPlanted(int folder, const struct stat& entry) {
  struct stat around {};
  if (::fstat(folder, &around) != 0) return true;
  constexpr mode_t kShared = S_ISVTX | S_IWOTH;
  return (around.st_mode & kShared) == kShared && entry.st_uid != ::geteuid() &&
         entry.st_uid != around.st_uid;
}

std::optional<std::string> ReadLink(const Place& place) {
  std::array<char, PATH_MAX> text{};
  const ssize_t size =
      ::readlinkat(place.folder.Get(), place.name.c_str(), text.data(), text.size());
  if (size <= 0 || static_cast<std::size_t>(size) == text.size()) return std::nullopt;
  return std::string(text.data(), static_cast<std::size_t>(size));
}

/// Follows `path` from link to link to what is no link, whose state goes to `entry`. Says
/// no_such_file_or_directory where a link of /proc leads to what has no name.
std::error_code FollowLinks(const std::string& path, Place& place, struct stat& entry) {
  constexpr int kMostLinks = 40;
  if (const auto error = FindFolder(AT_FDCWD, path, place)) return error;
  for (int links = 0; links <= kMostLinks; ++links) {
    const int folder = place.folder.Get();
    if (::fstatat(folder, place.name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0) return LastError();
    if (IsPlanted(folder, entry)) return std::make_error_code(std::errc::permission_denied);
    if (!S_ISLNK(entry.st_mode)) return {};
    const auto next = ReadLink(place);
    if (!next) return LastError();
    Place other;
    if (const auto error = FindFolder(folder, *next, other)) return error;
    place = std::move(other);
  }
  return std::make_error_code(std::errc::too_many_symbolic_link_levels);
}

// ---- What is kept of a file --------------------------------------------------------------------

constexpr mode_t kGroupAndOthers = 0077;

/// The file under the name `place`, opened to ask for its state; none if there is no regular file.
struct OldFile {
  Handle handle;
  struct stat status {};
  Acl acl;
};

/// `name` is an attribute of a file or folder that `handle` has open, be it as a mere place.
Acl ReadAcl(int handle, const char* name) {
  std::string value(kMostAclBytes, '\0');
  ssize_t size = ::fgetxattr(handle, name, value.data(), value.size());
  if (size < 0 && errno == EBADF) {
    const std::string same = "/proc/self/fd/" + std::to_string(handle);
    size = ::getxattr(same.c_str(), name, value.data(), value.size());
  }
  if (size < 0) return Acl{errno == ENODATA || errno == EOPNOTSUPP, {}};
  value.resize(static_cast<std::size_t>(size));
  return Acl{true, std::move(value)};
}

/// Opens what the user may not read as a mere place.
Handle OpenForState(int folder, const char* name, int flags) {
  flags |= O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  Handle handle(::openat(folder, name, flags | O_RDONLY));
  if (!handle && errno == EACCES) handle = Handle(::openat(folder, name, flags | O_PATH));
  return handle;
}

std::optional<OldFile> FindOldFile(const Place& place) {
  OldFile old{OpenForState(place.folder.Get(), place.name.c_str(), 0), {}, {}};
  if (!old.handle || ::fstat(old.handle.Get(), &old.status) != 0) return std::nullopt;
  if (!S_ISREG(old.status.st_mode)) return std::nullopt;
  old.acl = ReadAcl(old.handle.Get(), kAccessAcl);
  return old;
}

/// The mode of a new file in `folder`: what the folder's default list says, else the umask.
mode_t ModeOfNewFile(int folder) {
  constexpr mode_t kNoProgram = 0666;
  const Handle handle = OpenForState(folder, ".", O_DIRECTORY);
  if (handle) {
    const auto mode = ModeOfAcl(ReadAcl(handle.Get(), kDefaultAcl).entries);
    if (mode) return *mode & kNoProgram;
  }
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return kNoProgram & ~mask;
}

/// Whether `file` has no access-control list, or none any more.
bool RemoveAcl(int file) {
  return ::fremovexattr(file, kAccessAcl) == 0 || errno == ENODATA || errno == EOPNOTSUPP;
}

/// Gives `file` owner and group of `old`, as far as the user may. Returns whether it has the group.
bool TakeOwner(int file, const struct stat& old) {
  if (::fchown(file, old.st_uid, old.st_gid) == 0) return true;
  return ::fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0;
}

/// Gives `file` what is kept of `old`. The user alone can open `file` before, and everything that
/// cannot be done leaves it narrower.
void TakeOver(int file, const OldFile& old) {
  const bool hasGroup = TakeOwner(file, old.status);
  // The list that the folder gave to the new file goes.
  if (!RemoveAcl(file)) return;
  // Never the bits that let it run as its owner.
  mode_t mode = old.status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
  if (old.acl.isKnown && old.acl.entries.empty()) {
    // Its group is then among the others, which get no more than it had.
    if (!hasGroup) mode &= (S_IRWXU | (mode & S_IRWXG) >> 3U);
  } else {
    const std::string& entries = old.acl.entries;
    const bool isKept = old.acl.isKnown && hasGroup &&
                        ::fsetxattr(file, kAccessAcl, entries.data(), entries.size(), 0) == 0;
    if (!isKept) mode &= ~kGroupAndOthers;
  }
  (void)::fchmod(file, mode);
}

// ---- Names -------------------------------------------------------------------------------------

std::error_code Rename(int folder, const std::string& from, const std::string& to, bool overwrite) {
  const auto result = [](int status) { return status == 0 ? std::error_code() : LastError(); };
  if (overwrite) return result(::renameat(folder, from.c_str(), folder, to.c_str()));
  if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno != EINVAL && errno != ENOSYS) return LastError();
  // A file system that cannot refuse to replace can make a second link, which does not replace.
  if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0) return LastError();
  ::unlinkat(folder, from.c_str(), 0);
  return {};
}

}  // namespace

// ---- Replacement -------------------------------------------------------------------------------

struct Replacement::State {
  Place target;
  FileKind kind = FileKind::kNone;
  std::string temporary;
  Handle file;
  Removal* removal = nullptr;
};

Replacement::Replacement() : state_(std::make_unique<State>()) {}

Replacement::~Replacement() {
  if (state_->removal == nullptr) return;
  if (!state_->temporary.empty()) {
    ::unlinkat(state_->target.folder.Get(), state_->temporary.c_str(), 0);
  }
  state_->removal->isSet = 0;
}

std::error_code Replacement::Find(const std::string& path) {
  struct stat reached {};
  const bool isThere = ::stat(path.c_str(), &reached) == 0;
  if (!isThere && errno != ENOENT) return LastError();
  if (isThere && S_ISDIR(reached.st_mode)) {
    state_->kind = FileKind::kFolder;
    return {};
  }
  struct stat entry {};
  if (!isThere) {
    if (const auto error = FindFolder(AT_FDCWD, path, state_->target)) return error;
    const Place& place = state_->target;
    if (::fstatat(place.folder.Get(), place.name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0) {
      return errno == ENOENT ? std::error_code() : LastError();
    }
    state_->kind = FileKind::kRegular;
    return IsPlanted(place.folder.Get(), entry) ? std::make_error_code(std::errc::permission_denied)
                                                : std::error_code();
  }
  const std::error_code error = FollowLinks(path, state_->target, entry);
  const bool isNameless = error == std::errc::no_such_file_or_directory;
  state_->kind = S_ISREG(reached.st_mode) ? FileKind::kRegular : FileKind::kOther;
  if (state_->kind == FileKind::kOther) return isNameless ? std::error_code() : error;
  if (error) return error;
  const bool isSame = entry.st_dev == reached.st_dev && entry.st_ino == reached.st_ino;
  return isSame ? std::error_code() : std::make_error_code(std::errc::no_such_file_or_directory);
}

FileKind Replacement::Kind() const { return state_->kind; }

std::error_code Replacement::Create() {
  constexpr int kTries = 10;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  for (Removal& removal : removals) {
    if (removal.isSet == 0 && state_->removal == nullptr) state_->removal = &removal;
  }
  if (state_->removal == nullptr) return std::make_error_code(std::errc::too_many_files_open);
  const int folder = state_->target.folder.Get();
  RemoveWhatWasLeft(folder, state_->target.name);
  for (int tried = 0; tried < kTries; ++tried) {
    const std::string name = TemporaryName(state_->target.name);
    if (name.empty()) return std::make_error_code(std::errc::io_error);
    const EndingsWait endingsWait;
    state_->file = Handle(::openat(folder, name.c_str(), kFlags, S_IRUSR | S_IWUSR));
    if (!state_->file && errno == EEXIST) continue;
    if (!state_->file) return LastError();
    if (!HoldsNewFile(state_->file.Get())) continue;
    state_->temporary = name;
    Removal& removal = *state_->removal;
    removal.name[name.copy(removal.name.data(), removal.name.size() - 1)] = '\0';
    removal.folder = folder;
    removal.isSet = 1;
    CatchSignals();
    return {};
  }
  return std::make_error_code(std::errc::file_exists);
}

Descriptor Replacement::File() const { return state_->file.Get(); }

std::error_code Replacement::Commit(bool overwrite) {
  const int file = state_->file.Get();
  const int folder = state_->target.folder.Get();
  if (const auto error = Synchronize(file)) return error;
  // Last, so that there is hardly a moment at which a run that is killed leaves more than mode
  // 0600.
  if (const auto old = FindOldFile(state_->target)) {
    TakeOver(file, *old);
  } else {
    (void)::fchmod(file, ModeOfNewFile(folder));
  }
  // Holds the lock until the file has its name.
  const Handle held(::fcntl(file, F_DUPFD_CLOEXEC, 0));
  if (const auto error = Close(state_->file.Release())) return error;
  const auto error = Rename(folder, state_->temporary, state_->target.name, overwrite);
  if (!error) state_->temporary.clear();
  return error;
}

}  // namespace brindlex::cli::system
