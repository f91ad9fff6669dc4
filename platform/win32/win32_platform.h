#pragma once

#include <memory>
#include <string>

#include "platform/platform.h"
#include "platform/win32/automation/dispatch_adapter.h"

namespace brindlex {

/// Finds the listener of the calling thread; null when it has none.
using ListenerSource = std::shared_ptr<ReportListener> (*)();

/// The services of Windows.
class Win32Platform : public Platform {
 public:
  /// Without a `findListener` no thread has a listener.
  explicit Win32Platform(CollectionMaker makeCollection, CollectionAdapter adapt = nullptr,
                         ListenerSource findListener = nullptr)
      : dispatch_(makeCollection, adapt), findListener_(findListener) {}

  CollectionRef NewCollection() override { return dispatch_.NewCollection(); }
  VersionRecord GetVersionRecord() override;
  std::int32_t SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) override;
  std::int32_t PathFromItemIdList(ItemIdList list, PathBuffer& buffer) override;
  std::unique_ptr<FileSystem> NewFileSystem() override;
  std::string InCodePage(TextView text) override;
  std::unique_ptr<FileReplacement> NewFileReplacement(TextView path) override;

  /// The adapter of the objects that a host passes.
  const DispatchAdapter& Dispatch() const { return dispatch_; }

 private:
  std::shared_ptr<ReportListener> Listener() override;
  bool IsDesktopVisible() override;
  void ShowBox(const Report& report) override;
  void WriteToErrorChannel(const Report& report) override;

  DispatchAdapter dispatch_;
  ListenerSource findListener_;
};

}  // namespace brindlex
