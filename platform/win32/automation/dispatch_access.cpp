#include "platform/win32/automation/dispatch_access.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/automation/dispatch_adapter.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/late_binding.h"
#include "platform/win32/automation/record_texts.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

ComPtr<ITypeInfo> DescriptionOf(IDispatch& object, LCID locale) {
  ComPtr<ITypeInfo> description;
  if (SUCCEEDED(object.GetTypeInfo(0, locale, description.Receive()))) return description;
  ClearErrorObject();
  return nullptr;
}

DISPID IdIn(ITypeInfo& description, MemberName name) {
  DISPID id = DISPID_UNKNOWN;
  LPOLESTR asked = AsAsked(name);
  return SUCCEEDED(description.GetIDsOfNames(&asked, 1, &id)) ? id : DISPID_UNKNOWN;
}

DISPID IdIn(IDispatch& object, MemberName name, LCID locale) {
  DISPID id = DISPID_UNKNOWN;
  if (SUCCEEDED(AskForId(object, name, locale, id))) return id;
  ClearErrorObject();
  return DISPID_UNKNOWN;
}

/// A type description and the ids that it gives to the members.
class DescribedIds {
 public:
  /// Holds nothing unless the description of `first` lists all `names` with the ids that `first`
  /// itself uses. Nor when it is made anew each time, as JScript's objects do: no two objects have
  /// the same then, and to ask each of them takes longer than its names.
  DescribedIds(IDispatch& first, std::span<const Text> names, LCID locale) : locale_(locale) {
    auto description = DescriptionOf(first, locale);
    if (!description || DescriptionOf(first, locale).Get() != description.Get()) return;
    for (const Text& name : names) {
      const DISPID id = IdIn(*description.Get(), name.c_str());
      if (id == DISPID_UNKNOWN || id != IdIn(first, name.c_str(), locale)) return;
      ids_.push_back(id);
    }
    description_ = std::move(description);
  }

  bool AreKnown() const { return static_cast<bool>(description_); }
  bool HoldFor(IDispatch& object) const {
    return description_.Get() == DescriptionOf(object, locale_).Get();
  }
  DISPID Of(std::size_t member) const { return ids_[member]; }

 private:
  LCID locale_;
  ComPtr<ITypeInfo> description_;
  std::vector<DISPID> ids_;
};

/// The class of one of the component's own records: how its texts are reached without asking each
/// record for the way.
class OwnClass {
 public:
  /// Holds nothing unless `first` is a record of the component's own that has all `names` but the
  /// blank ones.
  OwnClass(IDispatch& first, std::span<const Text> names) {
    ComPtr<IRecordTexts> texts;
    if (FAILED(first.QueryInterface(IRecordTexts::kId, texts.ReceiveVoid()))) return;
    for (const Text& name : names) {
      positions_.push_back(texts->PositionOf(name));
      if (!name.empty() && positions_.back() == IRecordTexts::kNone) return;
    }
    table_ = TableOf(first);
    distance_ = reinterpret_cast<std::byte*>(texts.Get()) - reinterpret_cast<std::byte*>(&first);
  }

  bool IsKnown() const { return table_ != nullptr; }

  /// The texts of `object`, valid as long as it; null when it is of another class. Objects with one
  /// table of virtual functions are of one class, whose parts have the same offsets.
  IRecordTexts* TextsOf(IDispatch& object) const {
    if (TableOf(object) != table_) return nullptr;
    return reinterpret_cast<IRecordTexts*>(reinterpret_cast<std::byte*>(&object) + distance_);
  }

  std::size_t PositionOf(std::size_t member) const { return positions_[member]; }

 private:
  static const void* TableOf(const IDispatch& object) {
    return *reinterpret_cast<const void* const*>(&object);
  }

  const void* table_ = nullptr;
  std::ptrdiff_t distance_ = 0;
  std::vector<std::size_t> positions_;
};

class DispatchAccess : public MemberAccess {
 public:
  DispatchAccess(const DispatchAdapter& adapter, std::span<const Text> names)
      : MemberAccess(names), adapter_(adapter) {}

  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    Way way = WayTo(object);
    Append(way, member, text);
  }

  void AppendTexts(const Object& object, TextView end, TextBuilder& text,
                   std::size_t& reading) override {
    reading = 0;
    Way way = WayTo(object);
    for (; reading < Count(); ++reading) {
      Append(way, reading, text);
      text.AppendMarker(end);
    }
  }

  void LetText(const Object& object, std::size_t member, TextView value) override {
    Way way = WayTo(object);
    Let(way, member, value);
  }

  void LetTexts(const Object& object, const FieldViews& values) override {
    Way way = WayTo(object);
    for (std::size_t member = 0; member < values.size(); ++member) {
      if (!Names()[member].empty()) Let(way, member, values[member]);
    }
  }

 private:
  /// How the members of one object are reached.
  struct Way {
    IDispatch& object;
    /// Of a record of the component's own; else null.
    IRecordTexts* texts;
    bool byDescribedIds;
    /// By which an object that has no ids for IDispatch is asked, once it had to be.
    ComPtr<IDispatchEx> extended;
  };

  Way WayTo(const Object& object) {
    IDispatch& self = *static_cast<IDispatch*>(object.Self(adapter_));
    if (!std::exchange(isLearnt_, true)) LearnFrom(self);
    return {
        self, own_ ? own_->TextsOf(self) : nullptr, described_ && described_->HoldFor(self), {}};
  }

  void LearnFrom(IDispatch& first) {
    own_.emplace(first, Names());
    if (own_->IsKnown()) return;
    own_.reset();
    described_.emplace(first, Names(), locale_);
    if (!described_->AreKnown()) described_.reset();
  }

  DISPID IdOf(Way& way, std::size_t member) {
    if (way.byDescribedIds) return described_->Of(member);
    DISPID id = DISPID_UNKNOWN;
    const HRESULT status = AskForId(way.object, Names()[member].c_str(), locale_, id);
    if (SUCCEEDED(status)) return id;
    return MemberIdByDispatchEx(way.object, SystemName(member), status, way.extended);
  }

  /// The name as IDispatchEx asks for it; all are made when the first is needed.
  BSTR SystemName(std::size_t member) {
    if (systemNames_.empty()) {
      std::vector<Bstr> made;
      made.reserve(Count());
      for (const Text& name : Names()) made.emplace_back(name);
      systemNames_ = std::move(made);
    }
    return systemNames_[member].Get();
  }

  void Append(Way& way, std::size_t member, TextBuilder& text) {
    if (way.texts != nullptr) return text.Append(way.texts->TextAt(own_->PositionOf(member)));
    Variant value;
    GetInto(value, way.object, IdOf(way, member), locale_);
    if (value.Get().vt == VT_BSTR) return text.Append(ViewOf(value.Get().bstrVal));
    Variant storage;
    text.Append(ViewAsText(value.Get(), storage));
  }

  void Let(Way& way, std::size_t member, TextView value) {
    if (way.texts != nullptr) {
      way.texts->TextAt(own_->PositionOf(member)) = value;
      return;
    }
    Variant text = Variant::OfText(value);
    brindlex::Let(way.object, IdOf(way, member), text.Get(), locale_);
  }

  const DispatchAdapter& adapter_;
  /// Empty until an object is asked by IDispatchEx.
  std::vector<Bstr> systemNames_;
  const LCID locale_ = GetUserDefaultLCID();
  bool isLearnt_ = false;
  /// Of the first object.
  std::optional<OwnClass> own_;
  std::optional<DescribedIds> described_;
};

}  // namespace

std::unique_ptr<MemberAccess> MakeDispatchAccess(const DispatchAdapter& adapter,
                                                 std::span<const Text> names) {
  return std::make_unique<DispatchAccess>(adapter, names);
}

ComPtr<IDispatch> ObjectYieldedBy(IDispatch& object, MemberName name) {
  return ObjectOf(Invoke(object, MemberId(object, name), kCallOrGet).Get());
}

}  // namespace brindlex
