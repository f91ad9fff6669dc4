#include "server/classes/co_bases.h"

#include "bases/bases.h"
#include "bases/double_bits.h"
#include "platform/win32/automation/floating_point_scope.h"
#include "platform/win32/automation/number_text.h"
#include "server/com/given_number.h"
#include "server/runtime/never_destroyed.h"

namespace brindlex {
namespace {

const NumberText& Reading() {
  static const NeverDestroyed<Win32NumberText> reading;
  return reading.Get();
}

/// The limits in the caller's variables. At its end, whatever that is, the tolerance goes back
/// where it has become another.
class GivenLimits {
 public:
  GivenLimits(const long* maxFractionDigits, double* tolerance, const long* groupSize)
      : tolerance_(tolerance) {
    if (maxFractionDigits != nullptr) limits_.maxFractionDigits = *maxFractionDigits;
    if (tolerance != nullptr) limits_.tolerance = *tolerance;
    if (groupSize != nullptr) limits_.groupSize = *groupSize;
    before_ = limits_.tolerance;
  }
  GivenLimits(const GivenLimits&) = delete;
  GivenLimits& operator=(const GivenLimits&) = delete;
  ~GivenLimits() {
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

}  // namespace

STDMETHODIMP CoBases::ConvertBase(VARIANT number, long fromBase, long toBase,
                                  long* maxFractionDigits, double* tolerance, long* groupSize,
                                  VARIANT* result) {
  return RunFor(result, [&] {
    const GivenNumber given(number);
    const FloatingPointScope ownEnvironment;
    GivenLimits limits(maxFractionDigits, tolerance, groupSize);
    DigitBuffer text;
    const auto value =
        brindlex::ConvertBase(given, fromBase, toBase, limits.Get(), Reading(), text);
    if (value) {
      result->dblVal = *value;
      result->vt = VT_R8;
    } else {
      result->bstrVal = NewBstr(text.View());
      result->vt = VT_BSTR;
    }
  });
}

STDMETHODIMP CoBases::ConvertDec2Base(VARIANT number, long base, long* maxFractionDigits,
                                      double* tolerance, long* groupSize, BSTR* result) {
  return RunFor(result, [&] {
    const GivenNumber given(number);
    const FloatingPointScope ownEnvironment;
    GivenLimits limits(maxFractionDigits, tolerance, groupSize);
    DigitBuffer text;
    brindlex::ConvertDec2Base(given, base, limits.Get(), Reading(), text);
    *result = NewBstr(text.View());
  });
}

STDMETHODIMP CoBases::ConvertBase2Dec(BSTR text, long base, double* result) {
  return RunFor(result, [&] {
    const FloatingPointScope ownEnvironment;
    *result = brindlex::ConvertBase2Dec(ViewOf(text), base, Reading());
  });
}

STDMETHODIMP CoBases::ConvertDigit(long digit, long base, BSTR* result) {
  return RunFor(result, [&] { *result = NewBstr(brindlex::ConvertDigit(digit, base)); });
}

STDMETHODIMP CoBases::DeconvertDigit(BSTR digitText, long base, long* result) {
  return RunFor(result, [&] {
    const FloatingPointScope ownEnvironment;
    *result = brindlex::DeconvertDigit(ViewOf(digitText), base, Reading());
  });
}

}  // namespace brindlex
