// When dispatch ids are taken from a type description instead of being asked for, and when not.

#include <vector>

#include "platform/win32/automation/bstr_builder.h"
#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

/// A description of a dispatch interface with text properties of these ids.
class Description {
 public:
  explicit Description(std::vector<std::pair<std::u16string, DISPID>> members)
      : members_(std::move(members)) {
    for (auto& [name, id] : members_) {
      METHODDATA method{};
      method.szName = reinterpret_cast<OLECHAR*>(name.data());
      method.dispid = id;
      method.iMeth = static_cast<UINT>(methods_.size());
      method.cc = CC_STDCALL;
      method.wFlags = DISPATCH_PROPERTYGET;
      method.vtReturn = VT_BSTR;
      methods_.push_back(method);
    }
    INTERFACEDATA data{methods_.data(), static_cast<UINT>(methods_.size())};
    EXPECT_EQ(S_OK, CreateDispTypeInfo(&data, LOCALE_USER_DEFAULT, info_.Receive()));
  }

  const ComPtr<ITypeInfo>& Info() const { return info_; }

 private:
  std::vector<std::pair<std::u16string, DISPID>> members_;
  std::vector<METHODDATA> methods_;
  ComPtr<ITypeInfo> info_;
};

class DescribedIdsTest : public SaveRestoreTest {
 protected:
  /// A record of Title and Count whose ids for these are 1 and 2.
  static ComPtr<ScriptedObject> Described(View title, View count, const Description& description) {
    auto record = NewTitle(title, count);
    record->typeInfo = description.Info();
    return record;
  }

  const Description fitting_{{{u"Title", 1}, {u"Count", 2}}};
};

TEST_F(DescribedIdsTest, ACommonDescriptionReplacesTheirAnswers) {
  const auto first = Described(u"a", u"1", fitting_);
  const auto second = Described(u"b", u"2", fitting_);
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152b\u00A52\u00A5\u0152",
            Save(Collected({first.Get(), second.Get()}).Get()));
  EXPECT_EQ(0U, second->namesAsked);
}

TEST_F(DescribedIdsTest, RestoredRecordsAreSetByThemToo) {
  std::vector<ComPtr<ScriptedObject>> made;
  const auto creator = NewCreator([&] {
    made.push_back(Described(u"", u"", fitting_));
    return ComPtr<IDispatch>(made.back().Get());
  });
  const auto restored = Restore(
      u"Count\u00A5Title\u00A5\u01521\u00A5a\u00A5\u01522\u00A5b\u00A5\u0152", creator.Get());
  EXPECT_EQ((std::vector<Units>{u"a=1", u"b=2"}), Titles(restored));
}

TEST_F(DescribedIdsTest, AnObjectWithAnotherDescriptionIsAsked) {
  const Description turned{{{u"Title", 2}, {u"Count", 1}}};
  const auto first = Described(u"a", u"1", fitting_);
  const auto second = NewRecord({{u"Count", u"2"}, {u"Title", u"b"}});
  second->typeInfo = turned.Info();
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152b\u00A52\u00A5\u0152",
            Save(Collected({first.Get(), second.Get()}).Get()));
  EXPECT_LT(0U, second->namesAsked);
}

TEST_F(DescribedIdsTest, AnObjectWithoutADescriptionIsAsked) {
  const auto first = Described(u"a", u"1", fitting_);
  const auto second = NewRecord({{u"Count", u"2"}, {u"Title", u"b"}});
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152b\u00A52\u00A5\u0152",
            Save(Collected({first.Get(), second.Get()}).Get()));
}

TEST_F(DescribedIdsTest, ADescriptionThatTheFirstObjectItselfDoesNotFollowProvesNothing) {
  const Description turned{{{u"Title", 2}, {u"Count", 1}}};
  const auto first = Described(u"a", u"1", turned);
  const auto second = Described(u"b", u"2", turned);
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152b\u00A52\u00A5\u0152",
            Save(Collected({first.Get(), second.Get()}).Get()));
  EXPECT_LT(0U, second->namesAsked);
}

TEST_F(DescribedIdsTest, ADescriptionThatLacksAMemberProvesNothing) {
  const Description partial{{{u"Title", 1}}};
  const auto first = Described(u"a", u"1", partial);
  const auto second = NewRecord({{u"Count", u"2"}, {u"Title", u"b"}});
  second->typeInfo = partial.Info();
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152b\u00A52\u00A5\u0152",
            Save(Collected({first.Get(), second.Get()}).Get()));
}

// As JScript's objects do.
TEST_F(DescribedIdsTest, ADescriptionThatIsMadeAnewEachTimeIsNotAskedForAgain) {
  std::vector<ComPtr<ScriptedObject>> records;
  for (const View title : {u"a", u"b", u"c"}) {
    records.push_back(NewTitle(title, u"1"));
    records.back()->newTypeInfo = [] { return Description({{u"Title", 1}, {u"Count", 2}}).Info(); };
  }
  EXPECT_EQ(
      u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152b\u00A51\u00A5\u0152c\u00A51\u00A5\u0152",
      Save(Collected({records[0].Get(), records[1].Get(), records[2].Get()}).Get()));
  EXPECT_EQ(0U, records[1]->typeInfosAsked);
  EXPECT_EQ(0U, records[2]->typeInfosAsked);
}

TEST_F(DescribedIdsTest, AFailingDescriptionIsNoFailureOfTheSave) {
  for (const HRESULT status : {E_FAIL, E_NOTIMPL, E_OUTOFMEMORY, DISP_E_BADINDEX}) {
    const auto record = Described(u"a", u"1", fitting_);
    record->typeInfoStatus = status;
    EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A51\u00A5\u0152a\u00A51\u00A5\u0152",
              Save(Collected({record.Get(), record.Get()}).Get()));
  }
}

// ---- The component's own records ---------------------------------------------------------------

TEST_F(DescribedIdsTest, OwnRecordsAndTheHostsMayBeMixed) {
  const auto own = Dll().New<_clsTextData, clsTextData>();
  own->put_Name(Bstr(u"n").Get());
  own->put_DataString(Bstr(u"d").Get());
  const auto foreign = NewRecord({{u"Name", u"m"}, {u"DataString", u"e"}});
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152d\u00A5n\u00A5\u0152e\u00A5m\u00A5\u0152",
            Save(Collected({own.Get(), foreign.Get()}).Get()));
  EXPECT_EQ(u"Name\u00A5DataString\u00A5\u0152m\u00A5e\u00A5\u0152n\u00A5d\u00A5\u0152",
            Save(Collected({foreign.Get(), own.Get()}).Get()));
}

TEST_F(DescribedIdsTest, OwnRecordsLackWhatTheyLack) {
  const auto foreign = NewRecord({{u"Name", u"m"}, {u"Other", u"e"}});
  const auto own = Dll().New<_clsTextData, clsTextData>();
  EXPECT_EQ(u"", Save(Collected({foreign.Get(), own.Get()}).Get()));
  ExpectShown({Dfc(NoMember(5), u"Other")});
}

// ---- A text that is built where the host takes it ----------------------------------------------

TEST(BstrBuilderTest, TextsOfEverySizeAreComplete) {
  for (const std::size_t count : {0U, 1U, 100U, 65535U, 65536U, 70000U, 300000U}) {
    for (const double expectation : {0.0, 1.0, 1.03, 1.2, 1.5}) {
      std::u16string expected;
      BstrBuilder builder;
      builder.Append(u"x");
      builder.SetSizeHint(static_cast<std::size_t>(static_cast<double>(count + 1) * expectation));
      expected += u'x';
      while (expected.size() < count) {
        builder.Append(u"0123456");
        expected += u"0123456";
      }
      BSTR text = builder.Detach();
      ASSERT_NE(nullptr, text);
      EXPECT_EQ(expected, ViewOf(text));
      EXPECT_EQ(L'\0', text[expected.size()]);
      SysFreeString(text);
      EXPECT_EQ(0U, builder.Size());
    }
  }
}

TEST(BstrBuilderTest, AnEmptyBuilderYieldsAnEmptyText) {
  BstrBuilder builder;
  BSTR text = builder.Detach();
  EXPECT_NE(nullptr, text);
  EXPECT_EQ(0U, SysStringLen(text));
  SysFreeString(text);
  builder.Append(u"gone");
  builder.Clear();
  EXPECT_EQ(u"", builder.View());
}

}  // namespace
}  // namespace brindlex::testing
