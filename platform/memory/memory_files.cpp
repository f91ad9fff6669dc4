#include "platform/memory/memory_files.h"

#include <algorithm>
#include <utility>

#include "automation/runtime_error.h"
#include "platform/memory/memory_platform.h"

namespace brindlex {
namespace {

constexpr std::int32_t kReadOnly = 1;
constexpr std::int32_t kHidden = 2;

[[noreturn]] void Fail(std::int32_t number) { throw RuntimeError(number); }

/// Counts what an operation has open.
class OpenObject {
 public:
  explicit OpenObject(MemoryPlatform& platform) : platform_(platform) {
    ++platform_.disk.openObjects;
  }
  OpenObject(const OpenObject&) = delete;
  OpenObject& operator=(const OpenObject&) = delete;
  ~OpenObject() { --platform_.disk.openObjects; }

  /// The disk, at the start of a call that may fail.
  MemoryDisk& Disk() const {
    platform_.fault.Pass();
    return platform_.disk;
  }

  MemoryPlatform& Platform() const { return platform_; }

 private:
  MemoryPlatform& platform_;
};

/// Error 52 for a path with an end of its own inside.
void CheckPath(TextView path) {
  if (path.find(u'\0') != TextView::npos) Fail(error_number::kBadFileName);
}

MemoryDisk::StoredFile& FileOf(MemoryDisk& disk, const Text& path) {
  const auto found = disk.files.find(path);
  if (found == disk.files.end()) Fail(error_number::kFileNotFound);
  return found->second;
}

bool HasParent(const MemoryDisk& disk, TextView path) {
  const std::size_t end = path.rfind(u'\\');
  return end != TextView::npos && disk.folders.contains(Text(path.substr(0, end)));
}

/// Raises the error that prevents a file at `path`; its attributes in `forbidding` do.
void CheckReplaceable(const MemoryDisk& disk, const Text& path, std::int32_t forbidding) {
  if (!HasParent(disk, path)) Fail(error_number::kPathNotFound);
  if (disk.folders.contains(path)) Fail(error_number::kPermissionDenied);
  const auto old = disk.files.find(path);
  if (old == disk.files.end()) return;
  if (old->second.inUse || (old->second.attributes & forbidding) != 0) {
    Fail(error_number::kPermissionDenied);
  }
}

/// Appends as many of `bytes` to a file as there is room for.
void AppendTo(MemoryDisk& disk, const Text& path, std::string_view bytes) {
  const std::size_t fits = disk.room ? std::min(*disk.room, bytes.size()) : bytes.size();
  FileOf(disk, path).bytes.append(bytes.substr(0, fits));
  if (disk.room) *disk.room -= fits;
  if (fits < bytes.size()) Fail(error_number::kDiskFull);
}

class MemoryFile : public File {
 public:
  MemoryFile(MemoryPlatform& platform, TextView path) : open_(platform), path_(path) {}

  std::int32_t Attributes() override { return FileOf(open_.Disk(), path_).attributes; }
  void SetAttributes(std::int32_t attributes) override {
    FileOf(open_.Disk(), path_).attributes = attributes;
  }

 private:
  OpenObject open_;
  Text path_;
};

class MemoryWriter : public TextWriter {
 public:
  MemoryWriter(MemoryPlatform& platform, TextView path) : open_(platform), path_(path) {}

  void Write(TextView text) override {
    MemoryDisk& disk = open_.Disk();
    std::string bytes;
    for (const char16_t unit : text) bytes.push_back(static_cast<char>(unit < 256 ? unit : u'?'));
    AppendTo(disk, path_, bytes);
  }
  void Close() override { open_.Disk(); }

 private:
  OpenObject open_;
  Text path_;
};

class MemoryReader : public TextReader {
 public:
  MemoryReader(MemoryPlatform& platform, TextView path) : open_(platform), path_(path) {}

  void AppendBlock(Text& text) override {
    MemoryDisk& disk = open_.Disk();
    const std::string block = FileOf(disk, path_).bytes.substr(position_, disk.blockSize);
    if (block.empty()) Fail(error_number::kEndOfFile);
    for (const char byte : block) text.push_back(static_cast<unsigned char>(byte));
    position_ += block.size();
  }
  bool AtEnd() override { return position_ == FileOf(open_.Disk(), path_).bytes.size(); }
  void Close() override { open_.Disk(); }

 private:
  OpenObject open_;
  Text path_;
  std::size_t position_ = 0;
};

class MemoryFileSystem : public FileSystem {
 public:
  explicit MemoryFileSystem(MemoryPlatform& platform) : open_(platform) {}

  bool FileExists(TextView path) override { return DiskFor(path).files.contains(Text(path)); }

  std::unique_ptr<File> GetFile(TextView path) override {
    FileOf(DiskFor(path), Text(path));
    return std::make_unique<MemoryFile>(open_.Platform(), path);
  }

  std::unique_ptr<TextWriter> CreateTextFile(TextView path) override {
    MemoryDisk& disk = DiskFor(path);
    CheckReplaceable(disk, Text(path), kReadOnly | kHidden);
    auto& file = disk.files[Text(path)];
    file.bytes.clear();
    file.attributes |= disk.newAttributes;
    return std::make_unique<MemoryWriter>(open_.Platform(), path);
  }

  std::unique_ptr<TextReader> OpenTextFile(TextView path) override {
    MemoryDisk& disk = DiskFor(path);
    if (!HasParent(disk, path)) Fail(error_number::kPathNotFound);
    if (disk.folders.contains(Text(path)) || FileOf(disk, Text(path)).inUse) {
      Fail(error_number::kPermissionDenied);
    }
    return std::make_unique<MemoryReader>(open_.Platform(), path);
  }

  void Copy(TextView source, TextView destination) override {
    CheckPath(source);
    MemoryDisk& disk = DiskFor(destination);
    const MemoryDisk::StoredFile copied = FileOf(disk, Text(source));
    CheckReplaceable(disk, Text(destination), kReadOnly);
    disk.files[Text(destination)] = copied;
  }

  bool FolderExists(TextView path) override { return DiskFor(path).folders.contains(Text(path)); }

  void CreateFolder(TextView path) override {
    MemoryDisk& disk = DiskFor(path);
    if (!HasParent(disk, path)) Fail(error_number::kPathNotFound);
    if (disk.madeMeanwhile.contains(Text(path))) disk.folders.insert(Text(path));
    if (disk.files.contains(Text(path)) || !disk.folders.insert(Text(path)).second) {
      Fail(error_number::kFileExists);
    }
  }

  Object SystemFolder() override {
    open_.Disk();
    return open_.Platform().systemFolder;
  }

 private:
  MemoryDisk& DiskFor(TextView path) const {
    CheckPath(path);
    return open_.Disk();
  }

  OpenObject open_;
};

/// The path of a new file beside `path`, which nothing on the disk has.
Text NewPathBeside(const MemoryDisk& disk, TextView path) {
  for (std::int32_t number = 1;; ++number) {
    Text beside(path);
    beside.append(u".~saving-").append(DecimalText(number));
    if (!disk.files.contains(beside) && !disk.folders.contains(beside)) return beside;
  }
}

class MemoryFileReplacement : public FileReplacement {
 public:
  MemoryFileReplacement(MemoryPlatform& platform, TextView path) : open_(platform), path_(path) {
    MemoryDisk& disk = open_.Disk();
    CheckPath(path);
    if (!HasParent(disk, path)) Fail(error_number::kPathNotFound);
    if (disk.folders.contains(path_)) Fail(error_number::kPermissionDenied);
    beside_ = NewPathBeside(disk, path);
    disk.files[beside_] = {{}, disk.newAttributes, false};
  }
  MemoryFileReplacement(const MemoryFileReplacement&) = delete;
  MemoryFileReplacement& operator=(const MemoryFileReplacement&) = delete;
  ~MemoryFileReplacement() override { open_.Platform().disk.files.erase(beside_); }

  void TakeOver() override {
    MemoryDisk& disk = open_.Disk();
    const auto old = disk.files.find(path_);
    if (old != disk.files.end()) FileOf(disk, beside_).attributes = old->second.attributes;
  }
  void Write(std::string_view bytes) override { AppendTo(open_.Disk(), beside_, bytes); }
  void Flush() override { open_.Disk(); }
  void Commit() override {
    MemoryDisk& disk = open_.Disk();
    CheckReplaceable(disk, path_, 0);
    disk.files[path_] = FileOf(disk, beside_);
  }

 private:
  OpenObject open_;
  Text path_;
  Text beside_;
};

}  // namespace

bool MemoryDisk::Less::operator()(const Text& left, const Text& right) const {
  return std::lexicographical_compare(
      left.begin(), left.end(), right.begin(), right.end(),
      [](char16_t one, char16_t other) { return FoldCase(one) < FoldCase(other); });
}

std::unique_ptr<FileSystem> NewMemoryFileSystem(MemoryPlatform& platform) {
  return std::make_unique<MemoryFileSystem>(platform);
}

std::string InMemoryCodePage(TextView text) {
  std::string bytes;
  for (const char16_t unit : text) {
    if (unit > 255) Fail(error_number::kInvalidCall);
    bytes.push_back(static_cast<char>(unit));
  }
  return bytes;
}

std::unique_ptr<FileReplacement> NewMemoryFileReplacement(MemoryPlatform& platform, TextView path) {
  return std::make_unique<MemoryFileReplacement>(platform, path);
}

}  // namespace brindlex
