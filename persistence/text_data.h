#pragma once

#include <array>
#include <memory>
#include <vector>

#include "automation/object.h"
#include "automation/text.h"
#include "platform/platform.h"

namespace brindlex {

/// The component's own record: one named block of text.
class clsTextData {
 public:
  /// A new collection of the names of the two properties, each under itself as key. A failure shows
  /// "Error GMN" and yields no collection.
  static CollectionRef GetMemberNames(Platform& platform);

  /// The text that the record carries; in a multi-collection text, one whole inner collection.
  Text DataString;
  /// The name under which the block is stored and looked up.
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

/// The adapter of the text blocks that live within the component, and of their creators. Blocks are
/// reached by name like any record, so that one procedure saves and restores them all.
class TextDataAdapter : public ObjectAdapter {
 public:
  /// `platform` must outlive the adapter, and the adapter every object of it.
  explicit TextDataAdapter(Platform& platform) : platform_(platform) {}

  /// A new creator: its GetNewObject yields new, empty blocks.
  Object NewCreator() const;

  /// A new block that holds `data`.
  Object NewBlock(clsTextData data) const;

  /// The block that `object` refers to, which must be one of this adapter.
  clsTextData& Block(const Object& object) const;

  void AddRef(void* object) const noexcept override;
  void Release(void* object) const noexcept override;
  Object CallForObject(void* object, TextView name) const override;
  CollectionRef CallForCollection(void* object, TextView name) const override;
  std::vector<Text> PropertyGetNames(void* object) const override;
  std::unique_ptr<MemberAccess> Access(std::vector<Text> names) const override;
  CollectionRef NewCollection() const override;

 private:
  Platform& platform_;
};

}  // namespace brindlex
