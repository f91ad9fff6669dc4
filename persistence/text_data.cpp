#include "persistence/text_data.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "automation/collection.h"
#include "automation/runtime_error.h"
#include "environment/report.h"
#include "environment/trap.h"

namespace brindlex {
namespace {

/// What an object of the adapter refers to. A creator is a record that nobody reads.
struct Counted {
  clsTextData data;
  long references = 1;
};

[[noreturn]] void NoSuchMember() { throw RuntimeError(error_number::kNoSuchMember); }

class TextDataAccess : public MemberAccess {
 public:
  TextDataAccess(const TextDataAdapter& adapter, std::span<const Text> names)
      : MemberAccess(names), adapter_(adapter) {
    for (const Text& name : Names()) {
      properties_.push_back(clsTextData::FindProperty(name));
    }
  }

  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    text.Append(Member(object, member));
  }

  void LetText(const Object& object, std::size_t member, TextView value) override {
    Member(object, member) = value;
  }

 private:
  Text& Member(const Object& object, std::size_t member) const {
    const clsTextData::Property* const property = properties_.at(member);
    if (property == nullptr) NoSuchMember();
    return adapter_.RecordOf(object).*property->text;
  }

  const TextDataAdapter& adapter_;
  /// By member; null for a name that is no property.
  std::vector<const clsTextData::Property*> properties_;
};

}  // namespace

const clsTextData::Property* clsTextData::FindProperty(TextView name) noexcept {
  const auto* const found = std::find_if(
      kProperties.begin(), kProperties.end(),
      [name](const Property& property) { return EqualIgnoringCase(property.name, name); });
  return found == kProperties.end() ? nullptr : found;
}

CollectionRef clsTextData::GetMemberNames(Platform& platform) {
  CollectionRef result;
  Trap(
      [&](CurrentLine&) {
        CollectionRef names = platform.NewCollection();
        for (const Property& property : kProperties) names->Add(property.name, property.name);
        result = std::move(names);
      },
      [&](const PendingError& pending) {
        platform.ShowReport(TaggedReport(u"Error GMN", u"Error GMN", pending));
      });
  return result;
}

Object TextDataAdapter::NewCreator() const { return NewRecord({}); }

Object TextDataAdapter::NewRecord(clsTextData data) const {
  return {*this, new Counted{std::move(data)}};
}

clsTextData& TextDataAdapter::RecordOf(const Object& object) const {
  return static_cast<Counted*>(object.Self(*this))->data;
}

void TextDataAdapter::AddRef(void* object) const noexcept {
  ++static_cast<Counted*>(object)->references;
}

void TextDataAdapter::Release(void* object) const noexcept {
  auto* const counted = static_cast<Counted*>(object);
  if (--counted->references == 0) delete counted;
}

Object TextDataAdapter::CallForObject(void* /*object*/, MemberName name) const {
  if (!EqualIgnoringCase(name, u"GetNewObject")) NoSuchMember();
  return NewRecord({});
}

CollectionRef TextDataAdapter::CallForCollection(void* /*object*/, MemberName name) const {
  if (!EqualIgnoringCase(name, u"GetMemberNames")) NoSuchMember();
  return clsTextData::GetMemberNames(platform_);
}

std::vector<Text> TextDataAdapter::PropertyGetNames(void* /*object*/) const {
  std::vector<Text> names;
  names.reserve(std::size(clsTextData::kProperties));
  for (const clsTextData::Property& property : clsTextData::kProperties) {
    names.emplace_back(property.name);
  }
  return names;
}

std::unique_ptr<MemberAccess> TextDataAdapter::Access(std::span<const Text> names) const {
  return std::make_unique<TextDataAccess>(*this, names);
}

CollectionRef TextDataAdapter::NewCollection() const { return std::make_shared<InnerCollection>(); }

}  // namespace brindlex
