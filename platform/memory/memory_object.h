#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "automation/collection.h"
#include "automation/object.h"
#include "automation/runtime_error.h"
#include "automation/text.h"

namespace brindlex {

class MemoryAdapter;

/// An object of a host that lives in memory. Whatever a class does not override is error 438, as
/// with a member that a host's object lacks.
class MemoryObject {
 public:
  explicit MemoryObject(const MemoryAdapter& adapter) noexcept;
  MemoryObject(const MemoryObject&) = delete;
  MemoryObject& operator=(const MemoryObject&) = delete;
  virtual ~MemoryObject();

  virtual Object CallForObject(TextView name);
  virtual CollectionRef CallForCollection(TextView name);
  virtual std::vector<Text> PropertyGetNames();
  virtual Text Get(TextView name);
  virtual void Let(TextView name, TextView value);

 private:
  friend class MemoryAdapter;

  const MemoryAdapter& adapter_;
  std::size_t references_ = 1;
};

/// The late binding of objects in memory. It knows how many of its objects are alive, so that a
/// test can see that none leaks; it must outlive them.
class MemoryAdapter : public ObjectAdapter {
 public:
  void AddRef(void* object) const noexcept override;
  void Release(void* object) const noexcept override;
  Object CallForObject(void* object, MemberName name) const override;
  CollectionRef CallForCollection(void* object, MemberName name) const override;
  std::vector<Text> PropertyGetNames(void* object) const override;
  std::unique_ptr<MemberAccess> Access(std::span<const Text> names) const override;

  /// A MemoryCollection.
  CollectionRef NewCollection() const override;

  /// A new object of class `T`, constructed from the adapter and then `arguments`.
  template <class T, class... Arguments>
  Object New(Arguments&&... arguments) const {
    MemoryObject* const made = new T(*this, std::forward<Arguments>(arguments)...);
    return {*this, made};
  }

  /// The object of a reference that New returned for class `T`; another class is
  /// std::bad_cast, another adapter error 430.
  template <class T>
  T& In(const Object& object) const {
    return dynamic_cast<T&>(*static_cast<MemoryObject*>(object.Self(*this)));
  }

  std::size_t LiveObjects() const noexcept { return live_; }

  /// The references that are held to `object`, that one included.
  std::size_t References(const Object& object) const;

 private:
  friend class MemoryObject;

  mutable std::size_t live_ = 0;
};

/// The type that a member of a record converts to.
enum class MemberType {
  kText,
  /// Text that is no decimal number is error 13.
  kNumber,
  /// "True" or "False" in any letter case, or a number; other text is error 13.
  kBoolean,
  /// Text that is not of the form 2024-12-31 is error 13.
  kDate,
};

/// One property of a class of records.
struct Member {
  Text name;
  MemberType type = MemberType::kText;
  /// Its value in a new record, as text.
  Text value{};
  bool readable = true;
  bool writable = true;
  std::optional<RuntimeError> getError{};
  std::optional<RuntimeError> letError{};
};

/// What a member that is asked for a list of names answers: a collection, no collection, or an
/// error. An empty function means an object without that member.
using ListSource = std::function<CollectionRef()>;

/// A list of names, each its own key, made anew at each call. `adapter` must outlive the result.
ListSource ListOf(const MemoryAdapter& adapter, std::vector<Text> names);

/// A member that fails: with 424, one that yields something that is no collection.
ListSource Raises(RuntimeError error);

/// What records of one class have in common. The records share it, so that a test can change it
/// under their feet.
struct RecordClass {
  enum class Use { kGet, kLet, kCall };

  std::vector<Member> members;
  ListSource getMemberNames{};
  ListSource membersCol{};
  /// The names that the type information lists; without it, asking is error 438.
  std::optional<std::vector<Text>> typeInformation{};
  /// As in script engines that distinguish letter case.
  bool caseSensitive = false;
  /// Runs before each use of a record's member and may do anything, failing included.
  std::function<void(Use use, TextView member)> onUse{};
  /// Runs when a record ends; must not fail.
  std::function<void()> onTerminate{};
};

/// A class with these members that lists them all in GetMemberNames.
std::shared_ptr<RecordClass> ListingClass(const MemoryAdapter& adapter,
                                          std::vector<Member> members);

/// An object with scalar properties.
class MemoryRecord : public MemoryObject {
 public:
  MemoryRecord(const MemoryAdapter& adapter, std::shared_ptr<const RecordClass> recordClass);
  MemoryRecord(const MemoryRecord&) = delete;
  MemoryRecord& operator=(const MemoryRecord&) = delete;
  ~MemoryRecord() override;

  CollectionRef CallForCollection(TextView name) override;
  std::vector<Text> PropertyGetNames() override;
  Text Get(TextView name) override;
  void Let(TextView name, TextView value) override;

  /// Its values as text, in the order of the class's members: past every hook and error.
  std::vector<Text> values;

 private:
  std::size_t IndexOf(TextView name) const;
  void Use(RecordClass::Use use, TextView name) const;

  std::shared_ptr<const RecordClass> class_;
};

/// A new record of `recordClass` that holds `values`, as they stand, in its first members.
Object NewRecord(const MemoryAdapter& adapter, std::shared_ptr<const RecordClass> recordClass,
                 const std::vector<Text>& values = {});

/// An object whose GetNewObject is answered by a function, which may make an object, say Nothing or
/// fail.
class MemoryCreator : public MemoryObject {
 public:
  MemoryCreator(const MemoryAdapter& adapter, std::function<Object()> getNewObject);

  Object CallForObject(TextView name) override;

 private:
  std::function<Object()> getNewObject_;
};

/// A creator of records of `recordClass`.
Object NewCreator(const MemoryAdapter& adapter, std::shared_ptr<const RecordClass> recordClass);

}  // namespace brindlex
