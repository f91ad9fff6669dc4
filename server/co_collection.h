#pragma once

#include "automation/collection.h"
#include "automation/keyed_list.h"
#include "platform/win32/variant.h"
#include "server/Brindlex.h"
#include "server/coclass.h"

namespace brindlex {

/// The collection as hosts see it: any automation values, by position or key.
class CoCollection final : public Coclass<CoCollection, _clsCollection, ::clsCollection> {
 public:
  static const std::span<const Member> kMembers;

  CoCollection() = default;
  ~CoCollection();

  STDMETHODIMP get_Item(VARIANT index, VARIANT* result) override;
  STDMETHODIMP Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) override;
  STDMETHODIMP get_Count(long* result) override;
  STDMETHODIMP Remove(VARIANT index) override;
  STDMETHODIMP get__NewEnum(IUnknown** result) override;

  KeyedList<Variant>& Entries() { return entries_; }

 private:
  const Variant& EntryAt(const VARIANT& index) const;
  std::size_t PositionOf(const VARIANT& index) const;
  std::size_t PositionFor(const VARIANT& before, const VARIANT& after) const;

  KeyedList<Variant> entries_;
};

/// A new, empty CoCollection, as the component's operations fill and hand out collections.
CollectionRef MakeCollection();

}  // namespace brindlex
