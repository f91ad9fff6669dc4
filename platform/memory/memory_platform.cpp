#include "platform/memory/memory_platform.h"

#include <algorithm>

namespace brindlex {

void MemoryPlatform::ShowBox(const Report& report) {
  fault.Pass();
  reports.push_back(report);
  // A copy, since it may replace itself.
  const auto callback = whileShown;
  if (callback) callback();
}

CollectionRef MemoryPlatform::NewCollection() {
  fault.Pass();
  return adapter_.NewCollection();
}

VersionRecord MemoryPlatform::GetVersionRecord() {
  fault.Pass();
  return version;
}

std::int32_t MemoryPlatform::SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) {
  constexpr std::int32_t kInvalidArgument = -2147024809;
  fault.Pass();
  const auto found = shellFolders.find(csidl);
  if (found == shellFolders.end()) return kInvalidArgument;
  list = &found->second;
  return 0;
}

std::int32_t MemoryPlatform::PathFromItemIdList(ItemIdList list, PathBuffer& buffer) {
  fault.Pass();
  const auto& folder = *static_cast<const ShellFolder*>(list);
  std::copy(folder.path.begin(), folder.path.end(), buffer.begin());
  return folder.pathStatus;
}

std::unique_ptr<FileSystem> MemoryPlatform::NewFileSystem() {
  fault.Pass();
  return NewMemoryFileSystem(*this);
}

std::string MemoryPlatform::InCodePage(TextView text) {
  fault.Pass();
  return InMemoryCodePage(text);
}

std::unique_ptr<FileReplacement> MemoryPlatform::NewFileReplacement(TextView path) {
  return NewMemoryFileReplacement(*this, path);
}

}  // namespace brindlex
