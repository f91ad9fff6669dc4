#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <variant>

#include "automation/keyed_list.h"
#include "automation/object.h"
#include "automation/text.h"

namespace brindlex {

/// A collection as the component's operations use it: the host's own or one of ours. Every function
/// throws RuntimeError.
class Collection {
 public:
  Collection() = default;
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;
  virtual ~Collection() = default;

  virtual std::int32_t Count() const = 0;

  /// What is called with an entry; false ends the walk. A function that captures one reference is
  /// handed over without an allocation.
  using VisitObject = std::function<bool(const Object& entry)>;
  using VisitText = std::function<bool(TextView entry)>;

  /// Calls `visit` with each entry in order, those included that are added meanwhile. Error 424 at
  /// an entry that is neither an object nor Nothing. The collection must be kept alive meanwhile.
  virtual void ForEachObject(const VisitObject& visit) const = 0;

  /// As ForEachObject, with each entry converted to text, which is valid until the collection is
  /// used again. Error 13 at an entry that has none.
  virtual void ForEachText(const VisitText& visit) const = 0;

  /// The first entry, which must be an object or Nothing. Error 9 when there is none, 424 when it
  /// is neither.
  virtual Object First() const;

  /// The entry under `key`, as text. Error 5 when the key is absent, 13 when it has no text.
  virtual Text TextUnder(TextView key) const = 0;

  /// The entry under `key`, as an object. Error 5 when the key is absent, 424 when it is no object.
  virtual Object ObjectUnder(TextView key) const = 0;

  /// Adds an entry at the end. Error 457 when `key` is in use.
  virtual void Add(Object entry, std::optional<TextView> key) = 0;
  virtual void Add(TextView entry, std::optional<TextView> key) = 0;

  /// The collection itself as an object, for the host. Error 424 when it has no such form.
  virtual Object AsObject() const = 0;

  /// Whether it is of the component's own class, which the host can receive as it is.
  virtual bool IsOwn() const = 0;
};

/// A collection that lives within the component and is never returned to the host.
class InnerCollection : public Collection {
 public:
  std::int32_t Count() const override { return static_cast<std::int32_t>(entries_.Count()); }
  void ForEachObject(const VisitObject& visit) const override;
  void ForEachText(const VisitText& visit) const override;
  Text TextUnder(TextView key) const override;
  Object ObjectUnder(TextView key) const override;
  void Add(Object entry, std::optional<TextView> key) override;
  void Add(TextView entry, std::optional<TextView> key) override;
  Object AsObject() const override;
  bool IsOwn() const override { return false; }

 private:
  using Entry = std::variant<Text, Object>;

  KeyedList<Entry> entries_;
};

}  // namespace brindlex
