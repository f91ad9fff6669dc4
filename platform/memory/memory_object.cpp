#include "platform/memory/memory_object.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

#include "platform/memory/memory_collection.h"

namespace brindlex {
namespace {

[[noreturn]] void NoSuchMember() { throw RuntimeError(error_number::kNoSuchMember); }

MemoryObject& Self(void* object) { return *static_cast<MemoryObject*>(object); }

class MemoryAccess : public MemberAccess {
 public:
  MemoryAccess(const MemoryAdapter& adapter, std::span<const Text> names)
      : MemberAccess(names), adapter_(adapter) {}

  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    text.Append(Self(object.Self(adapter_)).Get(Names()[member]));
  }

  void LetText(const Object& object, std::size_t member, TextView value) override {
    Self(object.Self(adapter_)).Let(Names()[member], value);
  }

 private:
  const MemoryAdapter& adapter_;
};

bool IsAscii(TextView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 128; });
}

std::string Narrow(TextView text) {
  if (!IsAscii(text)) throw RuntimeError(error_number::kTypeMismatch);
  std::string narrow;
  for (const char16_t unit : text) narrow.push_back(static_cast<char>(unit));
  return narrow;
}

double ToNumber(TextView text) {
  const std::string digits = Narrow(text);
  const char* const end = digits.data() + digits.size();
  double number = 0;
  const auto read = std::from_chars(digits.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) throw RuntimeError(error_number::kTypeMismatch);
  return number;
}

Text NumberText(double number) {
  char digits[32];
  return {std::begin(digits), std::to_chars(std::begin(digits), std::end(digits), number).ptr};
}

bool ToBoolean(TextView text) {
  if (EqualIgnoringCase(text, u"True")) return true;
  if (EqualIgnoringCase(text, u"False")) return false;
  return ToNumber(text) != 0;
}

void CheckDate(TextView text) {
  constexpr TextView kForm = u"0000-00-00";
  const bool fits = std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(),
                               [](char16_t unit, char16_t form) {
                                 return form == u'-' ? unit == u'-' : unit >= u'0' && unit <= u'9';
                               });
  if (!fits) throw RuntimeError(error_number::kTypeMismatch);
}

Text Converted(MemberType type, TextView text) {
  switch (type) {
    case MemberType::kNumber:
      return NumberText(ToNumber(text));
    case MemberType::kBoolean:
      return ToBoolean(text) ? u"True" : u"False";
    case MemberType::kDate:
      CheckDate(text);
      break;
    case MemberType::kText:
      break;
  }
  return Text(text);
}

}  // namespace

MemoryObject::MemoryObject(const MemoryAdapter& adapter) noexcept : adapter_(adapter) {
  ++adapter_.live_;
}

MemoryObject::~MemoryObject() { --adapter_.live_; }

Object MemoryObject::CallForObject(TextView) { NoSuchMember(); }

CollectionRef MemoryObject::CallForCollection(TextView) { NoSuchMember(); }

std::vector<Text> MemoryObject::PropertyGetNames() { NoSuchMember(); }

Text MemoryObject::Get(TextView) { NoSuchMember(); }

void MemoryObject::Let(TextView, TextView) { NoSuchMember(); }

void MemoryAdapter::AddRef(void* object) const noexcept { ++Self(object).references_; }

void MemoryAdapter::Release(void* object) const noexcept {
  MemoryObject& self = Self(object);
  if (--self.references_ == 0) delete &self;
}

Object MemoryAdapter::CallForObject(void* object, MemberName name) const {
  return Self(object).CallForObject(name);
}

CollectionRef MemoryAdapter::CallForCollection(void* object, MemberName name) const {
  return Self(object).CallForCollection(name);
}

std::vector<Text> MemoryAdapter::PropertyGetNames(void* object) const {
  return Self(object).PropertyGetNames();
}

std::unique_ptr<MemberAccess> MemoryAdapter::Access(std::span<const Text> names) const {
  return std::make_unique<MemoryAccess>(*this, names);
}

CollectionRef MemoryAdapter::NewCollection() const {
  Object collection = New<MemoryCollection>();
  In<MemoryCollection>(collection).isOwn = true;
  return CollectionOf(*this, std::move(collection));
}

std::size_t MemoryAdapter::References(const Object& object) const {
  return Self(object.Self(*this)).references_;
}

ListSource ListOf(const MemoryAdapter& adapter, std::vector<Text> names) {
  return [&adapter, names = std::move(names)] {
    CollectionRef list = adapter.NewCollection();
    for (const Text& name : names) list->Add(TextView(name), TextView(name));
    return list;
  };
}

ListSource Raises(RuntimeError error) {
  return [error = std::move(error)]() -> CollectionRef { throw RuntimeError(error); };
}

std::shared_ptr<RecordClass> ListingClass(const MemoryAdapter& adapter,
                                          std::vector<Member> members) {
  std::vector<Text> names;
  names.reserve(members.size());
  for (const Member& member : members) names.push_back(member.name);
  auto made = std::make_shared<RecordClass>();
  made->members = std::move(members);
  made->getMemberNames = ListOf(adapter, std::move(names));
  return made;
}

MemoryRecord::MemoryRecord(const MemoryAdapter& adapter,
                           std::shared_ptr<const RecordClass> recordClass)
    : MemoryObject(adapter), class_(std::move(recordClass)) {
  for (const Member& member : class_->members) values.push_back(member.value);
}

MemoryRecord::~MemoryRecord() {
  if (class_->onTerminate) class_->onTerminate();
}

CollectionRef MemoryRecord::CallForCollection(TextView name) {
  const bool isMembersCol = EqualIgnoringCase(name, u"MembersCol");
  if (!isMembersCol && !EqualIgnoringCase(name, u"GetMemberNames")) NoSuchMember();
  Use(RecordClass::Use::kCall, name);
  // A copy, since the source may well change the class.
  const ListSource source = isMembersCol ? class_->membersCol : class_->getMemberNames;
  if (!source) NoSuchMember();
  return source();
}

std::vector<Text> MemoryRecord::PropertyGetNames() {
  if (!class_->typeInformation) NoSuchMember();
  return *class_->typeInformation;
}

Text MemoryRecord::Get(TextView name) {
  Use(RecordClass::Use::kGet, name);
  const std::size_t index = IndexOf(name);
  const Member& member = class_->members[index];
  if (!member.readable) NoSuchMember();
  if (member.getError) throw RuntimeError(*member.getError);
  return values[index];
}

void MemoryRecord::Let(TextView name, TextView value) {
  Use(RecordClass::Use::kLet, name);
  const std::size_t index = IndexOf(name);
  const Member& member = class_->members[index];
  if (!member.writable) NoSuchMember();
  if (member.letError) throw RuntimeError(*member.letError);
  values[index] = Converted(member.type, value);
}

std::size_t MemoryRecord::IndexOf(TextView name) const {
  const bool exactly = class_->caseSensitive;
  const auto found = std::find_if(
      class_->members.begin(), class_->members.end(), [exactly, name](const Member& member) {
        return exactly ? member.name == name : EqualIgnoringCase(member.name, name);
      });
  if (found == class_->members.end()) NoSuchMember();
  return static_cast<std::size_t>(found - class_->members.begin());
}

void MemoryRecord::Use(RecordClass::Use use, TextView name) const {
  // A copy, since the hook may replace itself.
  const auto onUse = class_->onUse;
  if (onUse) onUse(use, name);
}

Object NewRecord(const MemoryAdapter& adapter, std::shared_ptr<const RecordClass> recordClass,
                 const std::vector<Text>& values) {
  Object record = adapter.New<MemoryRecord>(std::move(recordClass));
  std::copy(values.begin(), values.end(), adapter.In<MemoryRecord>(record).values.begin());
  return record;
}

MemoryCreator::MemoryCreator(const MemoryAdapter& adapter, std::function<Object()> getNewObject)
    : MemoryObject(adapter), getNewObject_(std::move(getNewObject)) {}

Object MemoryCreator::CallForObject(TextView name) {
  if (!EqualIgnoringCase(name, u"GetNewObject")) NoSuchMember();
  return getNewObject_();
}

Object NewCreator(const MemoryAdapter& adapter, std::shared_ptr<const RecordClass> recordClass) {
  return adapter.New<MemoryCreator>(
      [&adapter, recordClass = std::move(recordClass)] { return NewRecord(adapter, recordClass); });
}

}  // namespace brindlex
