#include "bases/digit_buffer.h"

namespace brindlex {

// Apart, so that Room stays small enough to be expanded in place.
void DigitBuffer::Flush() {
  long_.append(room_, used_);
  used_ = 0;
}

}  // namespace brindlex
