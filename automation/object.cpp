#include "automation/object.h"

#include "automation/runtime_error.h"

namespace brindlex {

bool ObjectAdapter::FlagOf(const Object& object, MemberName name) const {
  const Text text = object.GetText(name);
  const bool isTrue = EqualIgnoringCase(text, u"True");
  if (!isTrue && !EqualIgnoringCase(text, u"False")) {
    throw RuntimeError(error_number::kTypeMismatch);
  }
  return isTrue;
}

void MemberAccess::AppendTexts(const Object& object, TextView end, TextBuilder& text,
                               std::size_t& reading) {
  for (reading = 0; reading < names_.size(); ++reading) {
    AppendText(object, reading, text);
    text.AppendMarker(end);
  }
}

void MemberAccess::LetTexts(const Object& object, const FieldViews& values) {
  for (std::size_t member = 0; member < values.size(); ++member) {
    if (!names_[member].empty()) LetText(object, member, values[member]);
  }
}

void* Object::Self(const ObjectAdapter& adapter) const {
  if (&Adapter() != &adapter) throw RuntimeError(error_number::kNoAutomation);
  return self_;
}

const ObjectAdapter& Object::Adapter() const {
  if (IsNothing()) throw RuntimeError(error_number::kObjectNotSet);
  return *adapter_;
}

Text Object::GetText(TextView name) const {
  StringTextBuilder text;
  const Text ownName(name);
  Adapter().Access({&ownName, 1})->AppendText(*this, 0, text);
  return text.Take();
}

}  // namespace brindlex
