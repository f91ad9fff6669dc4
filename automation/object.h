#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "automation/field_views.h"
#include "automation/text.h"
#include "automation/text_builder.h"

namespace brindlex {

class Collection;
class Object;

/// The name of a member, null-terminated.
using MemberName = const char16_t*;

/// A shared reference to a collection; null is "no collection".
using CollectionRef = std::shared_ptr<Collection>;

/// Reads and writes a fixed list of members, by name, on many objects of one sort.
class MemberAccess {
 public:
  /// `names` must outlive it.
  explicit MemberAccess(std::span<const Text> names) : names_(names) {}
  MemberAccess(const MemberAccess&) = delete;
  MemberAccess& operator=(const MemberAccess&) = delete;
  virtual ~MemberAccess() = default;

  /// The number of members.
  std::size_t Count() const noexcept { return names_.size(); }

  /// Appends the value of the member with index `member`, converted to text. Error 438 when the
  /// object lacks it, 94 when the value is null, 13 when it has no text, or the getter's own error;
  /// `text` is then as it was.
  virtual void AppendText(const Object& object, std::size_t member, TextBuilder& text) = 0;

  /// Appends the values of all members, in the order of the names, each followed by `end`, as
  /// AppendText does. `reading` is the index of the member that is being read, when this throws.
  virtual void AppendTexts(const Object& object, TextView end, TextBuilder& text,
                           std::size_t& reading);

  /// Hands `value` to the member with index `member`, which converts it to its own type. Error 438
  /// when the object lacks it or cannot set it, or the setter's own error.
  virtual void LetText(const Object& object, std::size_t member, TextView value) = 0;

  /// Hands `values`, one for each name, to the members in the order of the names, as LetText
  /// does. A blank name is skipped.
  virtual void LetTexts(const Object& object, const FieldViews& values);

 protected:
  std::span<const Text> Names() const { return names_; }

 private:
  std::span<const Text> names_;
};

/// The late-bound operations on one sort of objects: the host's own, which are reached by name
/// only, or the component's. An Object carries its adapter with it. Every function runs on the
/// thread of the object's apartment and throws RuntimeError.
class ObjectAdapter {
 public:
  ObjectAdapter() = default;
  ObjectAdapter(const ObjectAdapter&) = delete;
  ObjectAdapter& operator=(const ObjectAdapter&) = delete;
  virtual ~ObjectAdapter() = default;

  virtual void AddRef(void* object) const noexcept = 0;
  virtual void Release(void* object) const noexcept = 0;

  /// The object that the method or property `name` yields without arguments; Nothing when it yields
  /// Nothing. Error 424 when it yields something else, 438 when there is no such member.
  virtual Object CallForObject(void* object, MemberName name) const = 0;

  /// As CallForObject, for a member that yields a collection.
  virtual CollectionRef CallForCollection(void* object, MemberName name) const = 0;

  /// The property `name` as a flag: its own when it is one, otherwise what it converts to. Error
  /// 438 when the object lacks it, 13 when it has no flag, or the getter's own error. An
  /// adapter whose properties are texts knows the words True and False, in any letter case.
  virtual bool FlagOf(const Object& object, MemberName name) const;

  /// The names of the object's readable properties in declaration order, each once, from its
  /// type information. Error 445 or the system's error when it has none.
  virtual std::vector<Text> PropertyGetNames(void* object) const = 0;

  /// Access to the members `names`, which must outlive it, of this adapter's objects.
  virtual std::unique_ptr<MemberAccess> Access(std::span<const Text> names) const = 0;

  /// A new, empty collection that can hold this adapter's objects.
  virtual CollectionRef NewCollection() const = 0;
};

/// A counted reference to an object; a default-made one is Nothing. All members but the tests for
/// Nothing raise error 91 on Nothing.
class Object {
 public:
  Object() noexcept = default;
  /// Takes over one reference to `self`. The adapter must outlive it.
  Object(const ObjectAdapter& adapter, void* self) noexcept : adapter_(&adapter), self_(self) {}
  Object(const Object& other) noexcept : adapter_(other.adapter_), self_(other.self_) {
    if (self_ != nullptr) adapter_->AddRef(self_);
  }
  Object(Object&& other) noexcept
      : adapter_(other.adapter_), self_(std::exchange(other.self_, nullptr)) {}
  Object& operator=(Object other) noexcept {
    std::swap(adapter_, other.adapter_);
    std::swap(self_, other.self_);
    return *this;
  }
  ~Object() {
    if (self_ != nullptr) adapter_->Release(self_);
  }

  bool IsNothing() const noexcept { return self_ == nullptr; }

  /// The adapter's own pointer, still owned by this reference, when the object is of `adapter`;
  /// error 430 when it is of another.
  void* Self(const ObjectAdapter& adapter) const;

  const ObjectAdapter& Adapter() const;
  Object CallForObject(MemberName name) const { return Adapter().CallForObject(self_, name); }
  CollectionRef CallForCollection(MemberName name) const {
    return Adapter().CallForCollection(self_, name);
  }
  std::vector<Text> PropertyGetNames() const { return Adapter().PropertyGetNames(self_); }
  /// The property `name` as text, as MemberAccess has it; as a flag, as ObjectAdapter has it.
  Text GetText(TextView name) const;
  bool GetFlag(MemberName name) const { return Adapter().FlagOf(*this, name); }

 private:
  const ObjectAdapter* adapter_ = nullptr;
  void* self_ = nullptr;
};

}  // namespace brindlex
