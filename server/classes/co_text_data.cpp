#include "persistence/text_data.h"
#include "platform/win32/automation/record_texts.h"
#include "server/Brindlex.h"
#include "server/classes/arguments.h"
#include "server/classes/classes.h"
#include "server/classes/the_platform.h"
#include "server/com/coclass.h"

namespace brindlex {
namespace {

/// The component's own record as hosts see it.
class CoTextData final : public Coclass<CoTextData, _clsTextData, ::clsTextData, IRecordTexts> {
 public:
  STDMETHODIMP get_DataString(BSTR* result) override {
    return RunFor(result, [&] { *result = NewBstr(data_.DataString); });
  }

  STDMETHODIMP put_DataString(BSTR value) override {
    return Run([&] { data_.DataString = ViewOf(value); });
  }

  STDMETHODIMP get_Name(BSTR* result) override {
    return RunFor(result, [&] { *result = NewBstr(data_.Name); });
  }

  STDMETHODIMP put_Name(BSTR value) override {
    return Run([&] { data_.Name = ViewOf(value); });
  }

  STDMETHODIMP GetMemberNames(_clsCollection** result) override {
    return RunFor(result, [&] { *result = ToResult(clsTextData::GetMemberNames(ThePlatform())); });
  }

  std::size_t PositionOf(TextView name) const noexcept override {
    const clsTextData::Property* const property = clsTextData::FindProperty(name);
    if (property == nullptr) return kNone;
    return static_cast<std::size_t>(property - clsTextData::kProperties.data());
  }

  Text& TextAt(std::size_t position) noexcept override {
    return data_.*clsTextData::kProperties[position].text;
  }

 private:
  clsTextData data_;
};

/// The creator of CoTextData.
class CoCreateTextData final
    : public Coclass<CoCreateTextData, _clsCreateTextData, ::clsCreateTextData> {
 public:
  STDMETHODIMP GetNewObject(_clsTextData** result) override {
    return RunFor(result, [&] { *result = new CoTextData; });
  }
};

}  // namespace

IDispatch* NewTextData() { return new CoTextData; }

IDispatch* NewCreateTextData() { return new CoCreateTextData; }

}  // namespace brindlex
