#pragma once

#include <cstdint>

namespace brindlex {

/// The system's own description of its release.
struct VersionRecord {
  std::uint32_t majorVersion = 0;
  std::uint32_t minorVersion = 0;
  std::uint32_t buildNumber = 0;
  /// 1 for the line of Windows 95, 2 for that of Windows NT.
  std::uint32_t platformId = 0;
};

/// The release of the system.
class SystemVersion {
 public:
  SystemVersion() = default;
  SystemVersion(const SystemVersion&) = delete;
  SystemVersion& operator=(const SystemVersion&) = delete;
  virtual ~SystemVersion() = default;

  /// The system's description of its release; zeros where the system has none. May throw
  /// RuntimeError.
  virtual VersionRecord GetVersionRecord() = 0;
};

}  // namespace brindlex
