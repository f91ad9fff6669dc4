#include "server/classes/co_text_data.h"

#include "server/com/the_platform.h"
#include "server/com/values.h"

namespace brindlex {
STDMETHODIMP CoTextData::get_DataString(BSTR* result) {
  return RunFor(result, [&] { *result = NewBstr(data_.DataString); });
}

STDMETHODIMP CoTextData::put_DataString(BSTR value) {
  return Run([&] { data_.DataString = ViewOf(value); });
}

STDMETHODIMP CoTextData::get_Name(BSTR* result) {
  return RunFor(result, [&] { *result = NewBstr(data_.Name); });
}

STDMETHODIMP CoTextData::put_Name(BSTR value) {
  return Run([&] { data_.Name = ViewOf(value); });
}

STDMETHODIMP CoTextData::GetMemberNames(_clsCollection** result) {
  return RunFor(result, [&] { *result = HandedOut(clsTextData::GetMemberNames(ThePlatform())); });
}

std::size_t CoTextData::PositionOf(TextView name) const noexcept {
  if (EqualIgnoringCase(name, u"DataString")) return 0;
  return EqualIgnoringCase(name, u"Name") ? 1 : kNone;
}

Text& CoTextData::TextAt(std::size_t position) noexcept {
  return position == 0 ? data_.DataString : data_.Name;
}

STDMETHODIMP CoCreateTextData::GetNewObject(_clsTextData** result) {
  return RunFor(result, [&] { *result = new CoTextData; });
}

}  // namespace brindlex
