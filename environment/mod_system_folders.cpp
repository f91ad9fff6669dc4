#include "environment/mod_system_folders.h"

#include "environment/report.h"
#include "environment/trap.h"

namespace brindlex {
namespace {

TextView Trimmed(TextView text) {
  const std::size_t first = text.find_first_not_of(u' ');
  if (first == TextView::npos) return {};
  return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

/// The path in a buffer that the shell has filled. Error 5 when no NUL ends it.
TextView PathIn(const PathBuffer& buffer) {
  const TextView stored(buffer.data(), buffer.size());
  const std::size_t end = stored.find(u'\0');
  if (end == TextView::npos) throw RuntimeError(error_number::kInvalidCall);
  return Trimmed(stored.substr(0, end));
}

}  // namespace

Text FindSystemFolder(Platform& platform, std::int32_t csidl) {
  Text result;
  Trap(
      [&](CurrentLine&) {
        ItemIdList list = nullptr;
        if (platform.SpecialFolderLocation(csidl, list) != 0) return;
        PathBuffer buffer{};
        if (platform.PathFromItemIdList(list, buffer) != 1) return;
        result = PathIn(buffer);
      },
      [&](const PendingError& pending) {
        platform.ShowReport(
            LocatedReport(u"in Brindlex.modSystemFolders.FindSystemFolder ", pending));
      });
  return result;
}

}  // namespace brindlex
