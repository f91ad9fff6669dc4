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

  /// The family of the objects that a host hands in.
  const DispatchFamily& Dispatch() const { return dispatch_; }

 private:
  DispatchFamily dispatch_;
};

}  // namespace brindlex
