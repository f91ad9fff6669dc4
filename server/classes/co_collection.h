#pragma once

#include "automation/collection.h"
#include "automation/keyed_list.h"
#include "platform/win32/automation/variant.h"
#include "server/Brindlex.h"
#include "server/com/coclass.h"

namespace brindlex {

class CoCollection;

/// The interface by which the component recognizes a collection of its own. It is in no type
/// library.
struct IOwnCollection : IUnknown {
  static constexpr IID kId = {
      0x763A3EED, 0x9EF1, 0x4C8E, {0xB9, 0xA7, 0xB1, 0x72, 0x8E, 0x41, 0x6E, 0x43}};

  virtual CoCollection& OwnCollection() noexcept = 0;
};

/// The collection as hosts see it: any automation values, by position or key.
class CoCollection final
    : public Coclass<CoCollection, _clsCollection, ::clsCollection, IOwnCollection> {
 public:
  CoCollection() = default;
  ~CoCollection();

  STDMETHODIMP get_Item(VARIANT index, VARIANT* result) override;
  STDMETHODIMP Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) override;
  STDMETHODIMP get_Count(long* result) override;
  STDMETHODIMP Remove(VARIANT index) override;
  STDMETHODIMP get__NewEnum(IUnknown** result) override;

  CoCollection& OwnCollection() noexcept override { return *this; }

  KeyedList<Variant>& Entries() { return entries_; }

 private:
  const Variant& EntryAt(const VARIANT& index) const;
  std::size_t PositionOf(const VARIANT& index) const;
  std::size_t PositionFor(const VARIANT& before, const VARIANT& after) const;

  KeyedList<Variant> entries_;
};

/// `collection` as the component's operations use it: a CoCollection directly, any other through
/// IDispatch; null is no collection.
CollectionRef CollectionOf(IDispatch* collection);

/// A new, empty CoCollection, which the component's operations fill and return.
CollectionRef MakeCollection();

}  // namespace brindlex
