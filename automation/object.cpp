#include "automation/object.h"

#include "automation/runtime_error.h"

namespace brindlex {

void* Object::Self(const ObjectFamily& family) const {
  if (&Family() != &family) throw RuntimeError(error_number::kNoAutomation);
  return self_;
}

const ObjectFamily& Object::Family() const {
  if (IsNothing()) throw RuntimeError(error_number::kObjectNotSet);
  return *family_;
}

}  // namespace brindlex
