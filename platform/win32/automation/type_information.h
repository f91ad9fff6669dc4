#pragma once

#include <oaidl.h>

#include <vector>

#include "automation/text.h"

namespace brindlex {

/// The names of the object's readable properties in declaration order, each once. They come from
/// the type-library information service where that is registered, else from the object's own type
/// information, inherited ones first. Error 445 when the object has none, or a part of it is
/// missing; 13 when it has more than 16 levels of inheritance; or the service's or system's error.
std::vector<Text> PropertyGetNamesOf(IDispatch& object);

}  // namespace brindlex
