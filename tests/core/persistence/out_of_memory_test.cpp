#include <gmock/gmock.h>

#include <new>
#include <vector>

#include "tests/core/failing_new.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

constexpr TextView kSaved =
    u"Title\u00A5Count\u00A5\u0152A record of some length\u00A51\u00A5\u0152B\u00A52\u00A5\u0152";

/// Operations during which memory runs out, at every allocation in turn. What comes of one is its
/// whole result, or its empty value with a report shown, or error 7 for the caller; never a part of
/// the result, and nothing is left behind.
class OutOfMemoryTest : public PersistenceTest {
 protected:
  OutOfMemoryTest() { platform_.reports.reserve(kMostReports); }

  /// Runs `operation` with every allocation failing. `mayYield(result, reported)` says whether what
  /// it yields may come of that; without a failure it must yield what `isWhole` knows, and show
  /// nothing. Returns how many allocations were failed.
  template <class Operation, class IsWhole, class MayYield>
  std::size_t Run(Operation&& operation, IsWhole&& isWhole, MayYield&& mayYield) {
    const std::size_t objects = Adapter().LiveObjects();
    const std::size_t blocks = LiveAllocations();
    std::optional<decltype(operation())> result;
    const auto check = [&](bool failed) {
      if (result) {
        const bool reported = !platform_.reports.empty();
        EXPECT_TRUE(isWhole(*result) || mayYield(*result, reported));
        EXPECT_TRUE(failed || (isWhole(*result) && !reported));
      }
      EXPECT_TRUE(failed || result);
      CheckReports();
      result.reset();
      platform_.reports.clear();
      EXPECT_EQ(objects, Adapter().LiveObjects());
      EXPECT_EQ(blocks, LiveAllocations());
    };
    return FailEveryAllocation([&] { TryFor(result, operation); }, check);
  }

  /// As above, for an operation that yields nothing but its whole result or, with a report, its
  /// empty value.
  template <class Operation, class IsWhole, class IsEmpty>
  std::size_t RunWholeOrEmpty(Operation&& operation, IsWhole&& isWhole, IsEmpty&& isEmpty) {
    return Run(operation, isWhole,
               [&](const auto& result, bool reported) { return reported && isEmpty(result); });
  }

  /// Runs `use(store)` on a new instance with the text `multiDataString`, which has yet to parse
  /// it.
  template <class Use>
  auto WithText(TextView multiDataString, Use&& use) {
    clsCollectionSaveRestore store(platform_);
    store.SetRefuseMarkers(store_.RefuseMarkers());
    store.SetMultiDataString(multiDataString);
    return use(store);
  }

  /// Stores `records` under `name` in the text of store_, with every allocation failing.
  /// `isPartial(text)` knows what a reported failure may yield beside the whole text.
  template <class IsPartial>
  std::size_t RunStoring(const CollectionRef& records, TextView name, IsPartial&& isPartial) {
    const Text whole = store_.MultiDataColString(records, name);
    const Text before = store_.MultiDataString();
    return RunWholeOrEmpty(
        [&] {
          return WithText(before, [&](clsCollectionSaveRestore& store) {
            return store.MultiDataColString(records, name);
          });
        },
        [&](const Text& text) { return text == whole; }, isPartial);
  }

  bool IsSaved(const CollectionRef& collection) {
    return collection != nullptr && store_.AsDelimitedFromCollection(collection) == kSaved;
  }

  CollectionRef TwoRecords() {
    return RecordsOf(TitleAndCount(), {{u"A record of some length", u"1"}, {u"B", u"2"}});
  }

  static bool IsNone(const CollectionRef& collection) { return collection == nullptr; }

 private:
  static constexpr std::size_t kMostReports = 10;

  /// What `operation` yields; nothing when failed allocations reaches its caller. Any other failure
  /// travels on.
  template <class Result, class Operation>
  static void TryFor(std::optional<Result>& result, Operation& operation) {
    try {
      result.emplace(operation());
    } catch (const std::bad_alloc&) {
      result.reset();
    } catch (const RuntimeError& error) {
      if (error.number != 7) throw;
    }
  }

  /// The first report is of the failed allocations; others may follow from it.
  void CheckReports() {
    EXPECT_LE(platform_.reports.size(), kMostReports);
    if (platform_.reports.empty()) return;
    EXPECT_NE(Text::npos, platform_.reports[0].text.find(u"Out of memory N"))
        << testing::PrintToString(platform_.reports[0]);
  }
};

TEST_F(OutOfMemoryTest, AsDelimitedFromCollection) {
  const auto records = TwoRecords();
  EXPECT_GT(RunWholeOrEmpty([&] { return store_.AsDelimitedFromCollection(records); },
                            [](const Text& text) { return text == kSaved; },
                            [](const Text& text) { return text.empty(); }),
            15U);
}

TEST_F(OutOfMemoryTest, AsDelimitedFromCollectionByTypeInformation) {
  const auto recordClass = TitleAndCount();
  recordClass->getMemberNames = {};
  recordClass->typeInformation = {u"Title", u"Count"};
  const auto records = RecordsOf(recordClass, {{u"A record of some length", u"1"}, {u"B", u"2"}});
  EXPECT_GT(RunWholeOrEmpty([&] { return store_.AsDelimitedFromCollection(records); },
                            [](const Text& text) { return text == kSaved; },
                            [](const Text& text) { return text.empty(); }),
            15U);
}

TEST_F(OutOfMemoryTest, ASaveThatRefusesMarkers) {
  store_.SetRefuseMarkers(true);
  const auto records = TwoRecords();
  EXPECT_GT(RunWholeOrEmpty([&] { return store_.AsDelimitedFromCollection(records); },
                            [](const Text& text) { return text == kSaved; },
                            [](const Text& text) { return text.empty(); }),
            15U);
  store_.SetMultiDataString(store_.MultiDataColString(records, u"The first"));
  const TextView name = u"A name of some length";
  const Text alone = [&] {
    clsCollectionSaveRestore other(platform_);
    return other.MultiDataColString(records, name);
  }();
  // Blocks that cannot be restored are reported, and left out.
  EXPECT_GT(
      RunStoring(records, name, [&](const Text& text) { return text.empty() || text == alone; }),
      60U);
}

TEST_F(OutOfMemoryTest, AsDelimitedFromObject) {
  const Object record = NewRecord(Adapter(), TitleAndCount(), {u"A record of some length", u"1"});
  const TextView whole = kSaved.substr(0, kSaved.find(u'B'));
  EXPECT_GT(RunWholeOrEmpty([&] { return store_.AsDelimitedFromObject(record); },
                            [&](const Text& text) { return text == whole; },
                            [](const Text& text) { return text.empty(); }),
            15U);
}

TEST_F(OutOfMemoryTest, AsDelimitedToCollection) {
  const Object creator = Creator(TitleAndCount());
  const Text broken = Text(kSaved) + u"\r\n";
  EXPECT_GT(RunWholeOrEmpty(
                [&] { return store_.AsDelimitedToCollection(broken, creator, {}, {}, u"Title"); },
                [&](const CollectionRef& result) { return IsSaved(result); }, IsNone),
            30U);
}

TEST_F(OutOfMemoryTest, ARestoreThatFailsAtItsHeaderSaysSo) {
  const Object creator = Creator(TitleAndCount());
  bool isSaid = false;
  bool failed = true;
  for (std::size_t nth = 1; failed; ++nth) {
    {
      const FailingNew failing(nth, FailingNew::Extent::kOnce);
      TrapSilently([&] { store_.AsDelimitedToCollection(kSaved, creator); });
      failed = FailingNew::Failed();
    }
    for (const Report& report : platform_.reports) {
      isSaid = isSaid || report.text == RestoreReport(u"Out of memory", 7, 5).text;
    }
    platform_.reports.clear();
  }
  EXPECT_TRUE(isSaid);
}

TEST_F(OutOfMemoryTest, ATextThatIsRejected) {
  const Object creator = Creator(TitleAndCount());
  const Text broken = Text(kSaved) + u"\u0152";
  std::size_t calls = 0;
  const auto failures = FailEveryAllocation(
      [&] {
        ++calls;
        try {
          EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(broken, creator));
        } catch (const std::bad_alloc&) {
          // Not even a report can be shown.
        }
      },
      [&](bool failed) {
        if (!failed) {
          ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 6)});
        }
        platform_.reports.clear();
        EXPECT_EQ(1U, Adapter().LiveObjects());
      });
  EXPECT_GT(failures, 40U);
  EXPECT_EQ(failures + 2, calls);
}

TEST_F(OutOfMemoryTest, GetObjectFromString) {
  const Object creator = Creator(TitleAndCount());
  EXPECT_GT(RunWholeOrEmpty([&] { return store_.GetObjectFromString(kSaved, creator); },
                            [&](const Object& object) {
                              return !object.IsNothing() &&
                                     Adapter().In<MemoryRecord>(object).values ==
                                         std::vector<Text>{u"A record of some length", u"1"};
                            },
                            [](const Object& object) { return object.IsNothing(); }),
            40U);
}

TEST_F(OutOfMemoryTest, GetMemberNamesLate) {
  const auto recordClass = TitleAndCount();
  recordClass->typeInformation = {u"Title", u"A member of some length"};
  const Object record = NewRecord(Adapter(), recordClass);
  const auto isWhole = [&](const CollectionRef& names) {
    return names != nullptr && NamesIn(names) == *recordClass->typeInformation;
  };
  const auto operation = [&] { return store_.GetMemberNamesLate(record); };
  EXPECT_GT(RunWholeOrEmpty(operation, isWhole, IsNone), 5U);
  recordClass->membersCol = ListOf(Adapter(), *recordClass->typeInformation);
  EXPECT_GT(RunWholeOrEmpty(operation, isWhole, IsNone), 5U);
}

TEST_F(OutOfMemoryTest, FieldNamesCollection) {
  EXPECT_GT(Run([&] { return store_.FieldNamesCollection(kSaved, {}, {}); },
                [&](const CollectionRef& names) {
                  return names != nullptr && NamesIn(names).size() == 2;
                },
                [](const CollectionRef&, bool) { return false; }),
            3U);
}

TEST_F(OutOfMemoryTest, WorkingCol) {
  const Object creator = Creator(TitleAndCount());
  const Text text = store_.MultiDataColString(TwoRecords(), u"A name of some length");
  EXPECT_GT(RunWholeOrEmpty(
                [&] {
                  return WithText(text, [&](clsCollectionSaveRestore& store) {
                    return store.WorkingCol(u"A name of some length", creator, u"Title");
                  });
                },
                [&](const CollectionRef& result) { return IsSaved(result); }, IsNone),
            60U);
}

TEST_F(OutOfMemoryTest, MultiDataColString) {
  const auto records = TwoRecords();
  const TextView name = u"A name of some length";
  const Text alone = store_.MultiDataColString(records, name);
  store_.SetMultiDataString(store_.MultiDataColString(records, u"The first"));
  const Text before = store_.MultiDataString();
  // The failures of the inner operations are reported by them; the outer one goes on with what they
  // yield, a set of blocks without any or an empty text.
  const Text noData = store_.MultiDataColString(Adapter().NewCollection(), name);
  const Text noBlocks = u"DataString\u00A5Name\u00A5\u0152\u00A5" + Text(name) + u"\u00A5\u0152";
  EXPECT_GT(RunStoring(records, name,
                       [&](const Text& text) {
                         return text.empty() || text == alone || text == noData || text == noBlocks;
                       }),
            60U);
  EXPECT_EQ(before, store_.MultiDataString());
}

TEST_F(OutOfMemoryTest, ReplacingACollection) {
  const auto records = TwoRecords();
  const TextView name = u"A name of some length";
  store_.SetMultiDataString(
      store_.MultiDataColString(RecordsOf(TitleAndCount(), {{u"old"}}), name));
  const Text noData = store_.MultiDataColString(Adapter().NewCollection(), name);
  EXPECT_GT(
      RunStoring(records, name, [&](const Text& text) { return text.empty() || text == noData; }),
      60U);
}

/// What an operation on the text of an instance returns, and the text that it leaves.
struct Change {
  bool result;
  Text text;
};

TEST_F(OutOfMemoryTest, StoreCollection) {
  const auto records = TwoRecords();
  const TextView name = u"A name of some length";
  const TextView odd = u"Name\u00A5DataString\u00A5\u0152The first\u00A5x\u00A5\u0152";
  for (const bool refuses : {false, true}) {
    store_.SetRefuseMarkers(refuses);
    for (const Text& before :
         {Text(), store_.MultiDataColString(records, u"The first"),
          store_.MultiDataColString(Adapter().NewCollection(), name), Text(odd)}) {
      store_.SetMultiDataString(before);
      const Text whole = store_.MultiDataColString(records, name);
      EXPECT_GT(Run(
                    [&] {
                      return WithText(before, [&](clsCollectionSaveRestore& store) {
                        const bool isStored = store.StoreCollection(records, name);
                        return Change{isStored, store.MultiDataString()};
                      });
                    },
                    [&](const Change& change) { return change.result && change.text == whole; },
                    [&](const Change& change, bool reported) {
                      return reported && !change.result && change.text == before;
                    }),
                30U);
    }
  }
  store_.SetMultiDataString({});
}

TEST_F(OutOfMemoryTest, RemoveCollection) {
  const TextView name = u"A name of some length";
  for (const TextView first : {u"DataString\u00A5Name\u00A5\u0152x\u00A5The "
                               u"first\u00A5\u0152x\u00A5A name of some length\u00A5\u0152",
                               u"Name\u00A5DataString\u00A5\u0152The first\u00A5x\u00A5\u0152A "
                               u"name of some length\u00A5x\u00A5\u0152"}) {
    const Text whole = u"DataString\u00A5Name\u00A5\u0152x\u00A5The first\u00A5\u0152";
    EXPECT_GT(Run(
                  [&] {
                    return WithText(first, [&](clsCollectionSaveRestore& store) {
                      const bool wasThere = store.RemoveCollection(name);
                      return Change{wasThere, store.MultiDataString()};
                    });
                  },
                  [&](const Change& change) { return change.result && change.text == whole; },
                  [&](const Change& change, bool reported) {
                    return reported && !change.result && change.text == first;
                  }),
              20U);
  }
}

TEST_F(OutOfMemoryTest, CollectionNames) {
  const Text text = store_.MultiDataColString(TwoRecords(), u"A name of some length");
  EXPECT_GT(RunWholeOrEmpty(
                [&] {
                  return WithText(text, [](clsCollectionSaveRestore& store) {
                    return store.CollectionNames();
                  });
                },
                [&](const CollectionRef& names) {
                  return names != nullptr &&
                         NamesIn(names) == std::vector<Text>{u"A name of some length"};
                },
                IsNone),
            5U);
}

TEST_F(OutOfMemoryTest, AssigningTheResultOfStoring) {
  const auto records = TwoRecords();
  const Text before = store_.MultiDataColString(records, u"The first, and of some length");
  store_.SetMultiDataString(before);
  const Text after = store_.MultiDataColString(records, u"The second, and of some length");
  bool thrown = false;
  const auto failures = FailEveryAllocation(
      [&] {
        try {
          thrown = false;
          store_.SetMultiDataString(after);
        } catch (const std::bad_alloc&) {
          thrown = true;
        }
      },
      [&](bool failed) {
        EXPECT_EQ(failed, thrown);
        EXPECT_EQ(failed ? before : after, store_.MultiDataString());
        EXPECT_EQ(failed ? 1 : 2, store_.CollectionNames()->Count());
        store_.SetMultiDataString(before);
        EXPECT_EQ(1, store_.CollectionNames()->Count());
      });
  EXPECT_GT(failures, 1U);
}

TEST_F(OutOfMemoryTest, ItemExists) {
  const auto names = ListOf(Adapter(), {u"A name of some length"})();
  bool exists = false;
  const auto failures = FailEveryAllocation(
      [&] { exists = clsCollectionSaveRestore::ItemExists(names, u"a NAME of some length"); },
      [&](bool failed) { EXPECT_EQ(!failed, exists); });
  EXPECT_GT(failures, 0U);
  ExpectReports({});
}

TEST_F(OutOfMemoryTest, SettingTheMultiCollectionText) {
  store_.SetMultiDataString(u"before, and of some length");
  const Text after = u"after, and of some length";
  bool thrown = false;
  const auto failures = FailEveryAllocation(
      [&] {
        try {
          thrown = false;
          store_.SetMultiDataString(after);
        } catch (const std::bad_alloc&) {
          thrown = true;
        }
      },
      [&](bool failed) {
        EXPECT_EQ(failed, thrown);
        EXPECT_EQ(failed ? u"before, and of some length" : after, store_.MultiDataString());
        store_.SetMultiDataString(u"before, and of some length");
      });
  EXPECT_GT(failures, 1U);
}

TEST_F(OutOfMemoryTest, MakingAnInstance) {
  const std::size_t before = LiveAllocations();
  bool made = false;
  FailEveryAllocation(
      [&] {
        try {
          const clsCollectionSaveRestore store(platform_);
          made = true;
        } catch (const std::bad_alloc&) {
          made = false;
        }
      },
      [&](bool failed) {
        EXPECT_EQ(!failed, made);
        EXPECT_EQ(before, LiveAllocations());
      });
}

}  // namespace
}  // namespace brindlex
