#include "bases/bases.h"
#include "bases/double_bits.h"
#include "platform/win32/automation/floating_point_scope.h"
#include "platform/win32/automation/number_text.h"
#include "server/Brindlex.h"
#include "server/classes/classes.h"
#include "server/classes/number_arg.h"
#include "server/com/coclass.h"
#include "server/runtime/never_destroyed.h"

namespace brindlex {
namespace {

const NumberText& Reading() {
  static const NeverDestroyed<Win32NumberText> reading;
  return reading.Get();
}

/// The limits in the caller's variables. A tolerance that was changed is written back at the end,
/// whether the call succeeds or fails.
class LimitsArg {
 public:
  LimitsArg(const long* maxFractionDigits, double* tolerance, const long* groupSize)
      : tolerance_(tolerance) {
    if (maxFractionDigits != nullptr) limits_.maxFractionDigits = *maxFractionDigits;
    if (tolerance != nullptr) limits_.tolerance = *tolerance;
    if (groupSize != nullptr) limits_.groupSize = *groupSize;
    before_ = limits_.tolerance;
  }
  LimitsArg(const LimitsArg&) = delete;
  LimitsArg& operator=(const LimitsArg&) = delete;
  ~LimitsArg() {
    // By the bits: 0 and -0 are equal, yet not the same.
    if (tolerance_ != nullptr && BitsOf(limits_.tolerance) != BitsOf(before_)) {
      *tolerance_ = limits_.tolerance;
    }
  }

  ConversionLimits& Get() { return limits_; }

 private:
  ConversionLimits limits_;
  double* tolerance_;
  double before_ = 0;
};

/// The number bases as hosts see them. Errors are raised to the host, none is reported in a box.
/// The optional arguments are passed by reference: a null pointer means the default. The tolerance
/// is replaced by its absolute value if the conversion reaches it, even if the call then fails.
class CoBases final : public Coclass<CoBases, _clsBases, ::clsBases> {
 public:
  STDMETHODIMP ConvertBase(VARIANT number, long fromBase, long toBase, long* maxFractionDigits,
                           double* tolerance, long* groupSize, VARIANT* result) override {
    return RunFor(result, [&] {
      const NumberArg value(number);
      const OwnFloatingPointScope ownEnvironment;
      LimitsArg limits(maxFractionDigits, tolerance, groupSize);
      DigitBuffer text;
      const auto converted =
          brindlex::ConvertBase(value, fromBase, toBase, limits.Get(), Reading(), text);
      if (converted) {
        result->dblVal = *converted;
        result->vt = VT_R8;
      } else {
        result->bstrVal = NewBstr(text.View());
        result->vt = VT_BSTR;
      }
    });
  }

  STDMETHODIMP ConvertDec2Base(VARIANT number, long base, long* maxFractionDigits,
                               double* tolerance, long* groupSize, BSTR* result) override {
    return RunFor(result, [&] {
      const NumberArg value(number);
      const OwnFloatingPointScope ownEnvironment;
      LimitsArg limits(maxFractionDigits, tolerance, groupSize);
      DigitBuffer text;
      brindlex::ConvertDec2Base(value, base, limits.Get(), Reading(), text);
      *result = NewBstr(text.View());
    });
  }

  STDMETHODIMP ConvertBase2Dec(BSTR text, long base, double* result) override {
    return RunFor(result, [&] {
      const OwnFloatingPointScope ownEnvironment;
      *result = brindlex::ConvertBase2Dec(ViewOf(text), base, Reading());
    });
  }

  STDMETHODIMP ConvertDigit(long digit, long base, BSTR* result) override {
    return RunFor(result, [&] { *result = NewBstr(brindlex::ConvertDigit(digit, base)); });
  }

  STDMETHODIMP DeconvertDigit(BSTR digitText, long base, long* result) override {
    return RunFor(result, [&] {
      const OwnFloatingPointScope ownEnvironment;
      *result = brindlex::DeconvertDigit(ViewOf(digitText), base, Reading());
    });
  }
};

}  // namespace

IDispatch* NewBases() { return new CoBases; }

}  // namespace brindlex
