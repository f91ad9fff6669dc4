#include "platform/win32/automation/dispatch_listener.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "platform/win32/automation/late_binding.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

Variant NumberArgument(std::int32_t number) {
  Variant made;
  made.Get().vt = VT_I4;
  made.Get().lVal = number;
  return made;
}

MEMORY_BASIC_INFORMATION RegionOf(const void* address) noexcept {
  MEMORY_BASIC_INFORMATION region{};
  VirtualQuery(address, &region, sizeof region);
  return region;
}

}  // namespace

void DispatchListener::OnReport(const Report& report) {
  const std::array<Variant, 6> owned = {
      Variant::OfText(report.caption),     Variant::OfText(report.text),
      NumberArgument(Report::kStyle),      NumberArgument(report.number),
      Variant::OfText(report.description), NumberArgument(report.line)};
  std::array<VARIANT, owned.size()> borrowed;
  std::transform(owned.begin(), owned.end(), borrowed.begin(),
                 [](const Variant& argument) { return argument.Get(); });
  const ComPtr<IDispatch> alive = object_;
  Invoke(*alive.Get(), MemberId(*alive.Get(), u"OnReport"), kCall, borrowed);
}

bool DispatchListener::IsOnStack(const void* address) const noexcept {
  // Each stack is one allocation of address space.
  const MEMORY_BASIC_INFORMATION own = RegionOf(&own);
  const MEMORY_BASIC_INFORMATION other = RegionOf(address);
  return own.AllocationBase != nullptr && own.AllocationBase == other.AllocationBase;
}

}  // namespace brindlex
