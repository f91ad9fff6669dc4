#include "persistence/text_data.h"

#include <utility>

#include "automation/collection.h"
#include "automation/runtime_error.h"
#include "environment/report.h"
#include "environment/trap.h"

namespace brindlex {
namespace {

constexpr TextView kDataString = u"DataString";
constexpr TextView kName = u"Name";

/// What an object of the family refers to. A creator is a record that nobody reads.
struct Counted {
  clsTextData data;
  long references = 1;
};

[[noreturn]] void NoSuchMember() { throw RuntimeError(error_number::kNoSuchMember); }

class TextDataAccess : public MemberAccess {
 public:
  TextDataAccess(const TextDataFamily& family, std::vector<Text> names)
      : MemberAccess(std::move(names)), family_(family) {
    for (const Text& name : Names()) members_.push_back(MemberNamed(name));
  }

  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    text.Append(Member(object, member));
  }

  void LetText(const Object& object, std::size_t member, TextView value) override {
    Member(object, member) = value;
  }

 private:
  using MemberPointer = Text clsTextData::*;

  static MemberPointer MemberNamed(TextView name) {
    if (EqualIgnoringCase(name, kDataString)) return &clsTextData::DataString;
    if (EqualIgnoringCase(name, kName)) return &clsTextData::Name;
    return nullptr;
  }

  Text& Member(const Object& object, std::size_t member) const {
    const MemberPointer pointer = members_.at(member);
    if (pointer == nullptr) NoSuchMember();
    return family_.RecordOf(object).*pointer;
  }

  const TextDataFamily& family_;
  std::vector<MemberPointer> members_;
};

}  // namespace

CollectionRef clsTextData::GetMemberNames(Platform& platform) {
  CollectionRef result;
  Trap(
      [&](CurrentLine&) {
        CollectionRef names = platform.NewCollection();
        names->Add(kDataString, kDataString);
        names->Add(kName, kName);
        result = std::move(names);
      },
      [&](const PendingError& pending) {
        platform.ShowReport(TaggedReport(u"Error GMN", u"Error GMN", pending));
      });
  return result;
}

Object TextDataFamily::NewCreator() const { return NewRecord({}); }

Object TextDataFamily::NewRecord(clsTextData data) const {
  return {*this, new Counted{std::move(data)}};
}

clsTextData& TextDataFamily::RecordOf(const Object& object) const {
  return static_cast<Counted*>(object.Self(*this))->data;
}

void TextDataFamily::AddRef(void* object) const noexcept {
  ++static_cast<Counted*>(object)->references;
}

void TextDataFamily::Release(void* object) const noexcept {
  auto* const counted = static_cast<Counted*>(object);
  if (--counted->references == 0) delete counted;
}

Object TextDataFamily::CallForObject(void* /*object*/, TextView name) const {
  if (!EqualIgnoringCase(name, u"GetNewObject")) NoSuchMember();
  return NewRecord({});
}

CollectionRef TextDataFamily::CallForCollection(void* /*object*/, TextView name) const {
  if (!EqualIgnoringCase(name, u"GetMemberNames")) NoSuchMember();
  return clsTextData::GetMemberNames(platform_);
}

std::vector<Text> TextDataFamily::PropertyGetNames(void* /*object*/) const {
  return {Text(kDataString), Text(kName)};
}

std::unique_ptr<MemberAccess> TextDataFamily::Access(std::vector<Text> names) const {
  return std::make_unique<TextDataAccess>(*this, std::move(names));
}

CollectionRef TextDataFamily::NewCollection() const { return std::make_shared<InnerCollection>(); }

}  // namespace brindlex
