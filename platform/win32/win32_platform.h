#pragma once

#include "platform/platform.h"
#include "platform/win32/dispatch_family.h"

namespace brindlex {

/// The services of Windows.
class Win32Platform : public Platform {
 public:
  /// `makeCollection` makes the collections that are handed out to the host.
  explicit Win32Platform(CollectionMaker makeCollection) : dispatch_(makeCollection) {}

  void ShowReport(const Report& report) override;
  CollectionRef NewCollection() override { return dispatch_.NewCollection(); }
  VersionRecord GetVersionRecord() override;
  std::int32_t SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) override;
  std::int32_t PathFromItemIdList(ItemIdList list, PathBuffer& buffer) override;
  std::unique_ptr<FileSystem> NewFileSystem() override;

  /// The family of the objects that a host hands in.
  const DispatchFamily& Dispatch() const { return dispatch_; }

 private:
  DispatchFamily dispatch_;
};

}  // namespace brindlex
