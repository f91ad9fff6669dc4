#include "platform/win32/dispatch_listener.h"

#include <algorithm>
#include <array>

#include "platform/win32/late_binding.h"
#include "platform/win32/variant.h"

namespace brindlex {
namespace {

Variant NumberArgument(std::int32_t number) {
  Variant made;
  made.Get().vt = VT_I4;
  made.Get().lVal = number;
  return made;
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
  Invoke(*alive.Get(), MemberId(*alive.Get(), Bstr(u"OnReport").Get()), kCall, borrowed);
}

}  // namespace brindlex
