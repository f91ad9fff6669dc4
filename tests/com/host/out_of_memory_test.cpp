// Every allocation of every operation failing in turn: of the BSTRs that the DLL and its host
// share, and of the DLL's own heap. Each failure is error 7 in a report or to the host; nothing
// crashes, leaks or is left half done.

#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/failing_memory.h"

namespace brindlex::testing {
namespace {

constexpr HRESULT kOutOfMemory = static_cast<HRESULT>(0x800A0007);

class OutOfMemoryTest : public SaveRestoreTest {
 protected:
  void SetUp() override {
    SaveRestoreTest::SetUp();
    first_ = NewTitle(u"Alpha, a title too long for a short text", u"1");
    second_ = NewTitle(u"Beta", u"2");
    objects_ = NewCollection();
    for (IDispatch* const object : {first_.Get(), second_.Get()}) {
      ASSERT_EQ(S_OK,
                objects_->Add(Variant::OfObject(object).Get(), Missing(), Missing(), Missing()));
    }
    creator_ = NewTitleCreator();
    text_ = Bstr(Save(objects_.Get()));
    memory_.emplace(Dll().Module());
    // What the run time sets up for the thread's first exception stays.
    EXPECT_EQ(u"", SaveObject(nullptr));
    FailingMemory::Shown();
  }

  void TearDown() override {
    memory_.reset();
    objects_ = nullptr;
    first_ = nullptr;
    second_ = nullptr;
    creator_ = nullptr;
    text_ = Bstr();
    SaveRestoreTest::TearDown();
  }

  /// Runs `call()`, which returns a status, with each of its allocations failing in turn, until
  /// none is left to fail, then `isRight()`, which looks at the result and lets go of it. A failed
  /// run may have come to the right result all the same; or it has none, and error 7 is reported or
  /// goes to the host.
  template <class Call, class IsRight>
  void FailEach(Call&& call, IsRight&& isRight) {
    long failures = 0;
    for (const Memory memory : {Memory::kTask, Memory::kHeap}) {
      for (const bool everAfter : {false, true}) {
        long passed = 0;
        while (!PassesWithFailureAfter(passed, memory, everAfter, call, isRight)) ++passed;
        failures += passed;
      }
    }
    EXPECT_GT(failures, 0);
    RecordProperty("failures", static_cast<int>(failures));
  }

  bool AllIsUsable() {
    return CountOf(objects_) == 2 && Save(objects_.Get()) == text_.View() &&
           CountOf(Restore(text_.View(), creator_.Get())) == 2;
  }

  ComPtr<ScriptedObject> first_;
  ComPtr<ScriptedObject> second_;
  ComPtr<_clsCollection> objects_;
  ComPtr<ScriptedObject> creator_;
  /// The collection as text.
  Bstr text_;

 private:
  static bool TellsOfError7(const std::vector<Report>& reports) {
    return std::any_of(reports.begin(), reports.end(), [](const Report& report) {
      return report.text.find(u"Out of memory") != View::npos;
    });
  }

  template <class Call, class IsRight>
  bool PassesWithFailureAfter(long passed, Memory memory, bool everAfter, Call& call,
                              IsRight& isRight) {
    const long before = FailingMemory::LiveBlocks();
    ScriptedObject::callsWithoutMemory = 0;
    FailingMemory::FailAfter(memory, passed, everAfter);
    const HRESULT status = call();
    const bool hasFailed = FailingMemory::StopFailing();
    SetErrorInfo(0, nullptr);
    const bool hasResult = isRight();
    const std::vector<Report> reports = FailingMemory::Shown();
    const bool toHost = status == kOutOfMemory || status == E_OUTOFMEMORY;
    EXPECT_TRUE(status == S_OK || toHost) << std::hex << status;
    EXPECT_FALSE(toHost && hasResult);
    if (hasFailed) {
      // An error of the host's object is ignored where errors are, and may lead to another.
      const bool isHosts = ScriptedObject::callsWithoutMemory != 0 && !reports.empty();
      EXPECT_TRUE(hasResult || toHost || TellsOfError7(reports) || isHosts)
          << "allocation " << passed << ::testing::PrintToString(reports);
    } else {
      EXPECT_TRUE(hasResult) << ::testing::PrintToString(reports);
      EXPECT_TRUE(reports.empty());
    }
    EXPECT_EQ(before, FailingMemory::LiveBlocks()) << "allocation " << passed;
    EXPECT_TRUE(AllIsUsable()) << "allocation " << passed;
    EXPECT_TRUE(FailingMemory::Shown().empty());
    return !hasFailed || HasFailure();
  }

  std::optional<FailingMemory> memory_;
};

/// A text result: right when it is `expected`, otherwise none at all.
class TextResult {
 public:
  BSTR* Receive() { return text_.Receive(); }
  bool Is(std::u16string_view expected) {
    const Bstr taken = std::move(text_);
    text_ = Bstr();
    if (taken.View() == expected) return true;
    EXPECT_TRUE(taken.View().empty());
    return false;
  }

 private:
  Bstr text_;
};

TEST_F(OutOfMemoryTest, SavingACollection) {
  TextResult result;
  FailEach(
      [&] {
        return Operations().AsDelimitedFromCollection(objects_.Get(), Missing(), Missing(),
                                                      Missing(), result.Receive());
      },
      [&] { return result.Is(text_.View()); });
}

TEST_F(OutOfMemoryTest, SavingATextThatGrowsInPlace) {
  first_->operator[](u"Title").value = Variant(Units(6000, u'x'));
  text_ = Bstr(Save(objects_.Get()));
  ASSERT_GT(text_.View().size(), 6000U);
  TextResult result;
  FailEach(
      [&] {
        return Operations().AsDelimitedFromCollection(objects_.Get(), Missing(), Missing(),
                                                      Missing(), result.Receive());
      },
      [&] { return result.Is(text_.View()); });
}

TEST_F(OutOfMemoryTest, SavingAnObjectWithNumbersAndMarkers) {
  first_->operator[](u"Title").value = Of(VT_R8, 12345.678);
  second_->operator[](u"Title").value = Of(VT_DATE, 36526.0);
  text_ = Bstr(Save(objects_.Get()));
  const Variant recordEnd = Number(77777);
  Units expected(text_.View());
  for (std::size_t at = expected.find(u'\u0152'); at != Units::npos;
       at = expected.find(u'\u0152')) {
    expected.replace(at, 1, u"77777");
  }
  TextResult result;
  FailEach(
      [&] {
        return Operations().AsDelimitedFromCollection(objects_.Get(), recordEnd.Get(), Missing(),
                                                      Missing(), result.Receive());
      },
      [&] { return result.Is(expected); });
}

TEST_F(OutOfMemoryTest, SavingAnObject) {
  const Units expected = SaveObject(first_.Get());
  TextResult result;
  FailEach([&] { return Operations().AsDelimitedFromObject(first_.Get(), result.Receive()); },
           [&] { return result.Is(expected); });
}

TEST_F(OutOfMemoryTest, RestoringACollection) {
  ComPtr<_clsCollection> result;
  const Variant key = Variant::OfText(u"Title");
  FailEach(
      [&] {
        return Operations().AsDelimitedToCollection(text_.Get(), creator_.Get(), Missing(),
                                                    Missing(), key.Get(), result.Receive());
      },
      [&] {
        const auto taken = std::exchange(result, nullptr);
        if (!taken) return false;
        EXPECT_EQ(2, CountOf(taken));
        // A column that the host's list could not look up counts as unknown to the class.
        if (ScriptedObject::callsWithoutMemory != 0) return true;
        EXPECT_EQ(u"2", Read(At(taken, u"beta").Get(), u"Count"));
        return true;
      });
}

TEST_F(OutOfMemoryTest, RestoringAnObject) {
  ComPtr<IDispatch> result;
  FailEach(
      [&] {
        return Operations().GetObjectFromString(text_.Get(), creator_.Get(), result.Receive());
      },
      [&] {
        const auto taken = std::exchange(result, nullptr);
        if (taken && ScriptedObject::callsWithoutMemory == 0) {
          EXPECT_EQ(u"1", Read(taken.Get(), u"Count"));
        }
        return static_cast<bool>(taken);
      });
}

TEST_F(OutOfMemoryTest, RestoringNamedCollections) {
  SetMultiData(MultiDataCol(objects_.Get(), u"Items"));
  const Bstr name(u"Items");
  ComPtr<_clsCollection> result;
  FailEach(
      [&] {
        return Operations().WorkingCol(name.Get(), creator_.Get(), Missing(), result.Receive());
      },
      [&] {
        const auto taken = std::exchange(result, nullptr);
        if (taken) {
          EXPECT_EQ(2, CountOf(taken));
        }
        return static_cast<bool>(taken);
      });
}

TEST_F(OutOfMemoryTest, StoringInPlace) {
  const Units before = MultiDataCol(objects_.Get(), u"Items");
  SetMultiData(before);
  const Units expected = MultiDataCol(objects_.Get(), u"More");
  const Bstr name(u"More");
  VARIANT_BOOL isStored = VARIANT_FALSE;
  const auto text = [this] {
    Bstr taken;
    EXPECT_EQ(S_OK, Operations().get_MultiDataString(taken.Receive()));
    return Units(taken.View());
  };
  // Another text first, so that nothing is known of the one that follows.
  const auto setAnew = [&](const Units& start) {
    SetMultiData(u"");
    SetMultiData(start);
    isStored = VARIANT_FALSE;
  };
  setAnew(before);
  FailEach([&] { return Operations().StoreCollection(objects_.Get(), name.Get(), &isStored); },
           [&] {
             const bool isRight = isStored == VARIANT_TRUE;
             EXPECT_EQ(isRight ? expected : before, text());
             setAnew(before);
             return isRight;
           });
  setAnew(expected);
  FailEach([&] { return Operations().RemoveCollection(name.Get(), &isStored); },
           [&] {
             const bool isRight = isStored == VARIANT_TRUE;
             EXPECT_EQ(isRight ? before : expected, text());
             setAnew(expected);
             return isRight;
           });
}

TEST_F(OutOfMemoryTest, ListingNamedCollections) {
  const Units before = MultiDataCol(objects_.Get(), u"Items");
  SetMultiData(u"");
  SetMultiData(before);
  ComPtr<_clsCollection> result;
  FailEach([&] { return Operations().CollectionNames(result.Receive()); },
           [&] {
             const auto taken = std::exchange(result, nullptr);
             if (taken) {
               EXPECT_EQ((std::vector<Units>{u"Items"}), Names(taken));
             }
             SetMultiData(u"");
             SetMultiData(before);
             return static_cast<bool>(taken);
           });
}

TEST_F(OutOfMemoryTest, StoringNamedCollections) {
  SetMultiData(MultiDataCol(objects_.Get(), u"Items"));
  const Units expected = MultiDataCol(objects_.Get(), u"More");
  SetMultiData(u"");
  // Both steps of the operation report by themselves, and it goes on without what they gave.
  const Units withoutStored = MultiDataCol(objects_.Get(), u"More");
  SetMultiData(MultiDataCol(objects_.Get(), u"Items"));
  const Units withoutNew = MultiDataCol(NewCollection().Get(), u"More");
  Bstr name(u"More");
  BSTR variable = name.Get();
  IDispatch* objects = objects_.Get();
  Bstr result;
  FailEach([&] { return Operations().MultiDataColString(&objects, &variable, result.Receive()); },
           [&] {
             const Bstr taken = std::move(result);
             result = Bstr();
             if (taken.View() == expected) return true;
             EXPECT_TRUE(taken.View().empty() || taken.View() == withoutStored ||
                         taken.View() == withoutNew)
                 << ::testing::PrintToString(Units(taken.View()));
             return false;
           });
}

// The names come from the record's own list: Wine's type libraries do not survive failed
// allocations.
TEST_F(OutOfMemoryTest, MemberNames) {
  const auto record = ScriptedObject::New();
  const auto list = ForeignCollection::OfNames({u"A name too long for a short text", u"Title"});
  record->Property(u"MembersCol", Variant::OfObject(list.Get()));
  ComPtr<_clsCollection> result;
  FailEach([&] { return Operations().GetMemberNamesLate(record.Get(), result.Receive()); },
           [&] {
             const auto taken = std::exchange(result, nullptr);
             if (taken) {
               EXPECT_EQ(2, CountOf(taken));
             }
             return static_cast<bool>(taken);
           });
}

TEST_F(OutOfMemoryTest, FieldNames) {
  ComPtr<_clsCollection> result;
  FailEach(
      [&] {
        return Operations().FieldNamesCollection(text_.Get(), Missing(), Missing(),
                                                 result.Receive());
      },
      [&] {
        const auto taken = std::exchange(result, nullptr);
        if (taken) {
          EXPECT_EQ(2, CountOf(taken));
        }
        return static_cast<bool>(taken);
      });
}

TEST_F(OutOfMemoryTest, AddingToACollection) {
  auto collection = NewCollection();
  const Variant entry = Variant::OfText(u"an entry that is a text");
  const Variant key = Variant::OfText(u"a key too long for a short text");
  FailEach([&] { return collection->Add(entry.Get(), key.Get(), Missing(), Missing()); },
           [&] {
             // One that has not grown yet takes its place.
             const auto filled = std::exchange(collection, NewCollection());
             if (CountOf(filled) == 0) return false;
             EXPECT_EQ(1, CountOf(filled));
             EXPECT_EQ(S_OK, filled->Remove(key.Get()));
             return true;
           });
}

TEST_F(OutOfMemoryTest, ReadingACollection) {
  const auto names = NamesLate(TypedRecord::New().Get());
  const Variant key = Variant::OfText(u"double");
  Variant entry;
  FailEach([&] { return names->get_Item(key.Get(), entry.Receive()); },
           [&] {
             const Variant taken = std::move(entry);
             entry = Variant();
             return taken.Get().vt == VT_BSTR && ViewOf(taken.Get().bstrVal) == u"Double";
           });
}

TEST_F(OutOfMemoryTest, EnumeratingACollection) {
  const auto names = NamesLate(TypedRecord::New().Get());
  Variant entries[3];
  FailEach(
      [&] {
        ComPtr<IUnknown> made;
        const HRESULT status = names->get__NewEnum(made.Receive());
        if (FAILED(status)) return status;
        const auto enumerator = made.As<IEnumVARIANT>();
        VARIANT raw[3];
        ULONG fetched = 0;
        const HRESULT fetch = enumerator->Next(3, raw, &fetched);
        for (ULONG at = 0; at < fetched; ++at) *entries[at].Receive() = raw[at];
        return fetch;
      },
      [&] {
        const bool isRight =
            entries[2].Get().vt == VT_BSTR && ViewOf(entries[2].Get().bstrVal) == u"Single";
        for (Variant& entry : entries) entry = Variant();
        return isRight;
      });
}

TEST_F(OutOfMemoryTest, CallingByName) {
  IDispatch& operations = Operations();
  DISPID id = DISPID_UNKNOWN;
  const Bstr name(u"AsDelimitedFromCollection");
  BSTR names = name.Get();
  ASSERT_EQ(S_OK, operations.GetIDsOfNames(IID_NULL, &names, 1, 0, &id));
  Variant recordEnd = Number(77777);
  Variant objects = Variant::OfObject(objects_.Get());
  VARIANT arguments[2] = {};
  arguments[0].vt = arguments[1].vt = VT_BYREF | VT_VARIANT;
  arguments[0].pvarVal = &recordEnd.Get();
  arguments[1].pvarVal = &objects.Get();
  DISPPARAMS parameters{arguments, nullptr, 2, 0};
  Variant result;
  FailEach(
      [&] {
        EXCEPINFO exception{};
        const HRESULT status = operations.Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &parameters,
                                                 result.Receive(), &exception, nullptr);
        SysFreeString(exception.bstrDescription);
        SysFreeString(exception.bstrSource);
        return status == DISP_E_EXCEPTION ? exception.scode : status;
      },
      [&] {
        const Variant taken = std::move(result);
        result = Variant();
        return taken.Get().vt == VT_BSTR && ViewOf(taken.Get().bstrVal).ends_with(u"2\u00A577777");
      });
}

}  // namespace
}  // namespace brindlex::testing
