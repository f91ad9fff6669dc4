#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "automation/text.h"
#include "platform/file_replacement.h"
#include "platform/file_system.h"

namespace brindlex {

class MemoryPlatform;

/// What files a machine in memory has. Its code page is the first 256 characters; the others are
/// written as "?". Letter case does not count in paths.
struct MemoryDisk {
  struct Less {
    bool operator()(const Text& left, const Text& right) const;
  };
  struct StoredFile {
    std::string bytes;
    std::int32_t attributes = 0;
    /// Whether somebody else has it open, so that it can be neither opened nor replaced.
    bool inUse = false;
  };

  std::map<Text, StoredFile, Less> files;
  /// Every folder, its parents included, without a backslash at its end.
  std::set<Text, Less> folders;
  /// Folders that somebody else makes at the very moment at which they are to be made here.
  std::set<Text, Less> madeMeanwhile;
  /// How many bytes can still be written; without it, any number.
  std::optional<std::size_t> room;
  /// How many characters a reader yields at a time.
  std::size_t blockSize = 4;
  /// The attributes of a new file.
  std::int32_t newAttributes = 32;
  /// File-system objects, files and streams that are alive.
  int openObjects = 0;
};

/// The file-system object over the disk of `platform`, which must outlive it. Each of its calls,
/// and each of its files' and streams', can be made to fail by the platform's fault.
std::unique_ptr<FileSystem> NewMemoryFileSystem(MemoryPlatform& platform);

/// `text` in the disk's code page; error 5 when that cannot hold it.
std::string InMemoryCodePage(TextView text);

/// A new file that is to replace another on the disk of `platform`, which must outlive it.
std::unique_ptr<FileReplacement> NewMemoryFileReplacement(MemoryPlatform& platform, TextView path);

}  // namespace brindlex
