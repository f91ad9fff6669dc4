#pragma once

#include <oaidl.h>

#include <memory>
#include <span>

#include "automation/object.h"
#include "automation/text.h"
#include "platform/win32/automation/com_ptr.h"

namespace brindlex {

class DispatchAdapter;

/// Access to the members `names` of objects of `adapter`, in the quickest way that is safe for
/// each object; both must outlive it:
///
/// - the component's own records hand their texts over directly;
/// - objects with the very type description of the first object are asked by the dispatch ids that
///   it lists, provided that the first object itself uses the same ids;
/// - every other object is asked for the id of every name anew: objects that look alike, even with
///   one vtable, may give one name different ids.
std::unique_ptr<MemberAccess> MakeDispatchAccess(const DispatchAdapter& adapter,
                                                 std::span<const Text> names);

/// The object that the member `name` of `object` yields; null for Nothing. Errors as
/// ObjectAdapter::CallForObject has them.
ComPtr<IDispatch> ObjectYieldedBy(IDispatch& object, MemberName name);

}  // namespace brindlex
