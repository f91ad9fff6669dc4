#pragma once

#include <oaidl.h>

#include <memory>
#include <span>
#include <vector>

#include "automation/collection.h"
#include "automation/object.h"
#include "platform/win32/automation/com_ptr.h"

namespace brindlex {

/// Makes the collections that the host receives.
using CollectionMaker = CollectionRef (*)();

/// The collection that `object`, which is not null, is: one of the component's own directly, any
/// other through IDispatch.
using CollectionAdapter = CollectionRef (*)(IDispatch* object);

/// The adapter of all objects that are reached through IDispatch: the host's own, and the
/// component's as a host sees them.
class DispatchAdapter : public ObjectAdapter {
 public:
  /// Without `adapt`, every collection is used through IDispatch.
  explicit DispatchAdapter(CollectionMaker makeCollection, CollectionAdapter adapt = nullptr)
      : makeCollection_(makeCollection), adapt_(adapt) {}

  /// `object` as an object of this adapter; Nothing for null.
  Object Wrap(ComPtr<IDispatch> object) const noexcept;

  void AddRef(void* object) const noexcept override;
  void Release(void* object) const noexcept override;
  Object CallForObject(void* object, MemberName name) const override;
  CollectionRef CallForCollection(void* object, MemberName name) const override;
  bool FlagOf(const Object& object, MemberName name) const override;
  std::vector<Text> PropertyGetNames(void* object) const override;
  std::unique_ptr<MemberAccess> Access(std::span<const Text> names) const override;
  CollectionRef NewCollection() const override { return makeCollection_(); }

 private:
  CollectionMaker makeCollection_;
  CollectionAdapter adapt_;
};

/// A collection that is reached through IDispatch: Count, Item, and _NewEnum where it has that.
class DispatchCollection : public Collection {
 public:
  /// `adapter` must outlive the collection and what it yields.
  DispatchCollection(const DispatchAdapter& adapter, ComPtr<IDispatch> object)
      : adapter_(adapter), object_(std::move(object)) {}

  std::int32_t Count() const override;
  void ForEachObject(const VisitObject& visit) const override;
  void ForEachText(const VisitText& visit) const override;
  Text TextUnder(TextView key) const override;
  Object ObjectUnder(TextView key) const override;
  /// Error 445: the component adds to collections of its own only.
  void Add(Object entry, std::optional<TextView> key) override;
  void Add(TextView entry, std::optional<TextView> key) override;
  Object AsObject() const override { return adapter_.Wrap(object_); }
  bool IsOwn() const override { return false; }

 protected:
  const DispatchAdapter& Adapter() const { return adapter_; }

 private:
  template <class Visit>
  void ForEach(Visit&& visit) const;

  const DispatchAdapter& adapter_;
  ComPtr<IDispatch> object_;
};

}  // namespace brindlex
