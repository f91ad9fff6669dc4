#pragma once

#include "server/Brindlex.h"
#include "server/com/coclass.h"

namespace brindlex {

/// The number bases as hosts see them. Errors are raised to the host, none is reported in a box.
/// The optional arguments are passed by reference: a null pointer stands for the default, and the
/// absolute value of the tolerance is written where the conversion comes to it and it is another,
/// even if the call then fails.
class CoBases final : public Coclass<CoBases, _clsBases, ::clsBases> {
 public:
  STDMETHODIMP ConvertBase(VARIANT number, long fromBase, long toBase, long* maxFractionDigits,
                           double* tolerance, long* groupSize, VARIANT* result) override;
  STDMETHODIMP ConvertDec2Base(VARIANT number, long base, long* maxFractionDigits,
                               double* tolerance, long* groupSize, BSTR* result) override;
  STDMETHODIMP ConvertBase2Dec(BSTR text, long base, double* result) override;
  STDMETHODIMP ConvertDigit(long digit, long base, BSTR* result) override;
  STDMETHODIMP DeconvertDigit(BSTR digitText, long base, long* result) override;
};

}  // namespace brindlex
