#include "environment/mod_get_os.h"

namespace brindlex {
namespace {

constexpr std::uint32_t kWindows95Line = 1;
constexpr std::uint32_t kWindowsNtLine = 2;

TextView NameInWindows95Line(std::uint32_t minor) {
  switch (minor) {
    case 0:
      return u"Windows 95";
    case 10:
      return u"Windows 98";
    case 90:
      return u"Windows Millennium Edition (ME)";
    default:
      return {};
  }
}

TextView NameInWindowsNtLine(std::uint32_t major, std::uint32_t minor) {
  if (major < 3) return {};
  if (major == 3) return u"Windows NT 3.51";
  if (major == 4) return u"Windows NT 4.0";
  if (major == 5) return minor == 0 ? u"Windows 2000" : u"Windows XP";
  return u"Windows Vista";
}

}  // namespace

Text GetOsName(SystemVersion& system) {
  const VersionRecord version = system.GetVersionRecord();
  switch (version.platformId) {
    case kWindows95Line:
      return Text(NameInWindows95Line(version.minorVersion));
    case kWindowsNtLine:
      return Text(NameInWindowsNtLine(version.majorVersion, version.minorVersion));
    default:
      return u"Failed";
  }
}

bool IsWindowsVista(SystemVersion& system) {
  return EqualIgnoringCase(GetOsName(system), u"WINDOWS VISTA");
}

}  // namespace brindlex
