#pragma once

#include "platform/number_text.h"

namespace brindlex {

/// The readings without a platform: numbers are plain decimal text (automation/plain_decimal.h).
/// On that much it agrees with every platform whose decimal separator is the point. Text that reads
/// as a number beyond the largest double is numeric and raises error 6 where its value is needed.
class PortableNumberText : public NumberText {
 public:
  bool IsNumeric(TextView text) const override;
  double ToDouble(TextView text) const override;
  std::int32_t ToWhole(TextView text) const override;
  double LeadingNumber(TextView text) const override;
  Text ToText(double value) const override;
  bool BeginsWithZero(double value) const override { return value == 0; }
};

}  // namespace brindlex
