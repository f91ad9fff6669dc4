#pragma once

#include "persistence/text_data.h"
#include "platform/win32/automation/record_texts.h"
#include "server/Brindlex.h"
#include "server/com/coclass.h"

namespace brindlex {

/// The component's own record as hosts see it.
class CoTextData final : public Coclass<CoTextData, _clsTextData, ::clsTextData, IRecordTexts> {
 public:
  STDMETHODIMP get_DataString(BSTR* result) override;
  STDMETHODIMP put_DataString(BSTR value) override;
  STDMETHODIMP get_Name(BSTR* result) override;
  STDMETHODIMP put_Name(BSTR value) override;
  STDMETHODIMP GetMemberNames(_clsCollection** result) override;

  std::size_t PositionOf(TextView name) const noexcept override;
  Text& TextAt(std::size_t position) noexcept override;

 private:
  clsTextData data_;
};

/// The creator of CoTextData.
class CoCreateTextData final
    : public Coclass<CoCreateTextData, _clsCreateTextData, ::clsCreateTextData> {
 public:
  STDMETHODIMP GetNewObject(_clsTextData** result) override;
};

}  // namespace brindlex
