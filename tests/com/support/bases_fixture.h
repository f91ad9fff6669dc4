#pragma once

#include "bases/number_writer.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {

using Units = std::u16string;

/// The number bases through the binary interface. What a call comes to is compared in words:
/// "text FF", "double -26.5" (17 digits), "long 9" or "error 13 ConvertDigit: Unknown base".
class BasesTest : public ComTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  _clsBases& Bases() { return *bases_.Get(); }

  /// Through the vtable; the tolerance is left in `limits`.
  Units ByVtable(const VARIANT& number, long from, long to, ConversionLimits& limits);
  Units ByVtable(const VARIANT& number, long base, ConversionLimits& limits);
  Units ByVtable(TextView text, long base);
  Units ByVtable(long digit, long base);

  /// Through IDispatch, with its arguments in written order.
  Units ByDispatch(const wchar_t* member, const std::vector<VARIANT>& arguments);

  /// ConvertBase with all defaults, early and late bound, which must agree.
  Units Convert(const VARIANT& number, long from, long to);

 private:
  /// `shown` for a success; otherwise the thread's error object.
  static Units Answer(HRESULT status, const VARIANT& result);

  ComPtr<_clsBases> bases_;
};

/// `number` with up to 17 digits, and the point whatever the locale.
Units ShownDouble(double number);

}  // namespace brindlex::testing
