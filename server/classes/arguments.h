#pragma once

#include <oaidl.h>

#include "automation/collection.h"
#include "automation/object.h"
#include "automation/optional_text.h"
#include "automation/text.h"
#include "server/Brindlex.h"

namespace brindlex {

/// An argument as the operations take it; null is Nothing.
Object ObjectArg(IDispatch* object);

/// An optional text argument, read when it is made: omitted when it is the missing marker or Empty,
/// which is what script hosts pass for an undefined value. Lives as long as the call.
class TextArg {
 public:
  explicit TextArg(const VARIANT& argument);
  operator const OptionalText&() const { return read_; }  // NOLINT: converts to its text

 private:
  Text text_;
  OptionalText read_;
};

/// `flag` as automation has it.
inline VARIANT_BOOL ToVariantBool(bool flag) { return flag ? VARIANT_TRUE : VARIANT_FALSE; }

/// Results, which the host releases: null for Nothing and for no collection. The second throws the
/// error of E_NOINTERFACE for a collection of another class.
IDispatch* ToResult(const Object& object);
_clsCollection* ToResult(const CollectionRef& collection);

}  // namespace brindlex
