#pragma once

#include <array>
#include <memory>
#include <vector>

#include "automation/object.h"
#include "automation/text.h"
#include "platform/platform.h"

namespace brindlex {

/// The component's own record: a text under a name.
class clsTextData {
 public:
  /// A new collection of the names of the two properties, each under itself as key. A failure shows
  /// "Error GMN" and yields no collection.
  static CollectionRef GetMemberNames(Platform& platform);

  /// The text that the record carries; in a multi-collection text, a complete
  /// named collection.
  Text DataString;
  /// The name under which the text is stored and looked up.
  Text Name;

  /// One property: its name, and where its text is.
  struct Property {
    TextView name;
    Text clsTextData::*text;
  };

  /// All properties, in declaration order.
  static const std::array<Property, 2> kProperties;

  /// The property `name`, in any letter case; null when there is none.
  static const Property* FindProperty(TextView name) noexcept;
};

inline constexpr std::array<clsTextData::Property, 2> clsTextData::kProperties = {{
    {u"DataString", &clsTextData::DataString},
    {u"Name", &clsTextData::Name},
}};

/// The columns of a text of several collections.
inline constexpr TextView kDataColumn = clsTextData::kProperties[0].name;
inline constexpr TextView kNameColumn = clsTextData::kProperties[1].name;

/// The adapter of the records of texts that live within the component, and of their creators. Such
/// records are reached by name like any other, so that one procedure saves and restores all.
class TextDataAdapter : public ObjectAdapter {
 public:
  /// `platform` must outlive the adapter, and the adapter every object of it.
  explicit TextDataAdapter(Platform& platform) : platform_(platform) {}

  /// A new creator: its GetNewObject returns new, empty records.
  Object NewCreator() const;

  /// A new record that holds `data`.
  Object NewRecord(clsTextData data) const;

  /// The record that `object` refers to, which must be one of this adapter.
  clsTextData& RecordOf(const Object& object) const;

  void AddRef(void* object) const noexcept override;
  void Release(void* object) const noexcept override;
  Object CallForObject(void* object, MemberName name) const override;
  CollectionRef CallForCollection(void* object, MemberName name) const override;
  std::vector<Text> PropertyGetNames(void* object) const override;
  std::unique_ptr<MemberAccess> Access(std::span<const Text> names) const override;
  CollectionRef NewCollection() const override;

 private:
  Platform& platform_;
};

}  // namespace brindlex
