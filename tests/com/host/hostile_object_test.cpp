// Objects of the host that fail in one of their calls: in every part that they play, at the first
// call, in the middle and at the last, with every kind of failure.

#include <set>

#include "tests/com/objects/late_call.h"
#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/failing_memory.h"
#include "tests/com/support/malloc_spy.h"

namespace brindlex::testing {
namespace {

using Units = std::u16string;
using View = std::u16string_view;

constexpr HRESULT kControl = static_cast<HRESULT>(0x800A0000);
constexpr View kHeader = u"Title\u00A5Count\u00A5\u0152";
constexpr View kRecords[] = {u"Alpha\u00A51\u00A5\u0152", u"Beta\u00A52\u00A5\u0152",
                             u"Gamma\u00A53\u00A5\u0152"};

/// The text of the first `count` records.
Units TextOfFirst(std::size_t count) {
  Units text(kHeader);
  for (std::size_t index = 0; index < count; ++index) text.append(kRecords[index]);
  return text;
}

// ---- The faults --------------------------------------------------------------------------------

ShownError Automation(HRESULT status) { return {status, u"Automation error"}; }

/// One way to fail, what a report of it says, and what one says that has only the status to go by;
/// number 0 for a way to succeed.
struct Fault {
  const char* title;
  Outcome outcome;
  ShownError error;
  ShownError byStatus;
};

Fault Said(const char* title, Outcome outcome, ShownError error) {
  return {title, std::move(outcome), std::move(error), Automation(DISP_E_EXCEPTION)};
}

Fault Bare(const char* title, HRESULT status, const ShownError& error) {
  return {title, {status}, error, error};
}

Outcome Deferred(Outcome outcome, HRESULT fillIn) {
  outcome.deferred = true;
  outcome.fillIn = fillIn;
  return outcome;
}

std::vector<Fault> Faults() {
  const ShownError own{1001, u"Said so"};
  const Outcome raised = Outcome::Raise(kControl | 1001, own.description, u"Host.Record");
  const Outcome coded{DISP_E_EXCEPTION, 0, 1001, own.description};
  const Outcome both{DISP_E_EXCEPTION, kControl | 6, 1001, {}};
  return {
      Bare("MemberNotFound", DISP_E_MEMBERNOTFOUND, NoMember()),
      Bare("TypeMismatch", DISP_E_TYPEMISMATCH, TypeMismatch()),
      Said("ExceptionWithoutAWord", Outcome::Raise(0), Automation(DISP_E_EXCEPTION)),
      Said("Exception", raised, own),
      Said("ExceptionWithACode", coded, own),
      Said("ExceptionWithAStatusAndACode", both, {6, u"Overflow"}),
      Said("ExceptionToldWhenAsked", Deferred(raised, S_OK), own),
      Said("ExceptionNotToldWhenAsked", Deferred(raised, E_FAIL), Automation(DISP_E_EXCEPTION)),
      Bare("ControlFacility", kControl | 9, OutOfRange()),
      Bare("OutOfMemory", E_OUTOFMEMORY, OutOfMemory()),
      Bare("AccessDenied", E_ACCESSDENIED, {70, u"Permission denied"}),
      Bare("Fail", E_FAIL, Automation(E_FAIL)),
      Bare("Disconnected", RPC_E_DISCONNECTED,
           {462, u"The remote server machine does not exist or is unavailable"}),
      Bare("SuccessOfAnotherKind", S_FALSE, {0, u""}),
  };
}

// ---- The parts ---------------------------------------------------------------------------------

/// Counts the calls of one part, and lets the chosen one fail.
struct Failing {
  std::size_t calls = 0;
  std::size_t chosen = 0;
  Outcome outcome = {};

  Outcome Next() { return ++calls == chosen ? outcome : Outcome{}; }
  void WatchReading(ScriptedMember& member) {
    member.whenRead = [this, &member] { member.get = Next(); };
  }
  void WatchSetting(ScriptedMember& member) {
    member.whenSet = [this, &member] { member.let = Next(); };
  }
};

/// The objects of a host: three records in a collection, and a creator of more.
struct Host {
  Failing failing;
  std::vector<ComPtr<ScriptedObject>> records;
  ComPtr<ForeignCollection> collection;
  ComPtr<ScriptedObject> creator;
  /// Run over each record that the creator makes.
  std::function<void(ScriptedObject&)> whenMade;
};

/// A part that an object of the host plays.
struct Part {
  const char* title;
  bool isRestored;
  bool hasEnumerator;
  /// Puts the failing object in.
  void (*cast)(Host& host);
  /// The line of the report of each call, in the order of the calls.
  std::vector<int> lines;
  /// The member that the report names, call by call in turns.
  std::vector<View> members = {};
  /// The numbers that are passed over for another way to the same end.
  std::set<int> passedOver = {};
  /// An enumerator: its status is all that it returns, so it ends early when that is no failure.
  bool isEnumerator = false;

  /// A step whose errors are ignored, whatever they are.
  bool isIgnored = false;

  bool PassesOver(int number) const { return isIgnored || passedOver.contains(number); }
};

void CastGetters(Host& host) {
  for (const auto& record : host.records) {
    for (const View name : {u"Title", u"Count"}) host.failing.WatchReading((*record.Get())[name]);
  }
}

void CastSetters(Host& host) {
  host.whenMade = [&host](ScriptedObject& made) {
    for (const View name : {u"Title", u"Count"}) host.failing.WatchSetting(made[name]);
  };
}

void CastMemberLists(Host& host) {
  const auto watch = [&host](ScriptedObject& record) {
    host.failing.WatchReading(record[u"GetMemberNames"]);
  };
  for (const auto& record : host.records) watch(*record.Get());
  host.whenMade = watch;
}

std::vector<Part> Parts() {
  return {
      {"Getter", false, true, CastGetters, {5, 5, 5, 5, 5, 5}, {u"Title", u"Count"}},
      {"Setter", true, true, CastSetters, {7, 7, 7, 7, 7, 7}},
      // On saving, what lists itself not is asked in another way.
      {"MemberListOnSaving", false, true, CastMemberLists, {3}, {}, {}, false, true},
      {"MemberListOnRestoring", true, true, CastMemberLists, {3}},
      {"Creator",
       true,
       true,
       [](Host& host) { host.failing.WatchReading((*host.creator.Get())[u"GetNewObject"]); },
       {3, 7, 7, 7}},
      {"Item",
       false,
       false,
       [](Host& host) { host.failing.WatchReading((*host.collection.Get())[u"Item"]); },
       {3, 5, 5, 5}},
      {"Count",
       false,
       false,
       [](Host& host) { host.failing.WatchReading((*host.collection.Get())[u"Count"]); },
       {1, 3, 5}},
      {"NewEnum",
       false,
       true,
       [](Host& host) { host.failing.WatchReading((*host.collection.Get())[u"_NewEnum"]); },
       {3, 5},
       {},
       {438}},
      {"Next",
       false,
       true,
       [](Host& host) {
         host.collection->whenFetched = [&host] { return host.failing.Next().status; };
       },
       {3, 5, 5, 5, 5},
       {},
       {},
       true},
  };
}

// ---- The test ----------------------------------------------------------------------------------

/// What one operation came to: its text, or the titles that it restored; nothing for no object.
struct Ended {
  std::optional<Units> text;
  std::vector<Report> reports;
};

class HostileObjectTest : public SaveRestoreTest {
 protected:
  void SetUp() override {
    SaveRestoreTest::SetUp();
    memory_.emplace(Dll().Module());
    // What the run time sets up for the thread's first exception stays.
    EXPECT_EQ(u"", SaveObject(nullptr));
    FailingMemory::Shown();
  }

  void TearDown() override {
    memory_.reset();
    SaveRestoreTest::TearDown();
  }

  static void Make(Host& host, const Part& part) {
    host.collection = ForeignCollection::New(part.hasEnumerator);
    for (const auto& [title, count] :
         {std::pair<View, View>{u"Alpha", u"1"}, std::pair<View, View>{u"Beta", u"2"},
          std::pair<View, View>{u"Gamma", u"3"}}) {
      auto record = NewTitle(title, count);
      record->Property(u"MembersCol", Variant::OfObject(ForeignCollection::OfNames({
                                                                                       u"Title",
                                                                                       u"Count",
                                                                                   })
                                                            .Get()));
      host.collection->AddEntry(record.Get());
      host.records.push_back(std::move(record));
    }
    host.creator = NewCreator([&host] {
      const auto made = NewTitle({}, {});
      if (host.whenMade) host.whenMade(*made.Get());
      return made.As<IDispatch>();
    });
    part.cast(host);
  }

  /// Saves or restores late bound.
  Ended Run(const Host& host, const Part& part) {
    Ended ended;
    if (part.isRestored) {
      LateCall call(Operations(), L"AsDelimitedToCollection");
      call.WithOwned(Variant::OfText(TextOfFirst(std::size(kRecords))));
      EXPECT_EQ(S_OK, call.WithOwned(Variant::OfObject(host.creator.Get())).Run());
      EXPECT_EQ(VT_DISPATCH, call.Result().vt);
      if (call.Result().pdispVal != nullptr) {
        ended.text = SaveAll(ComPtr<IDispatch>(call.Result().pdispVal));
      }
    } else {
      LateCall call(Operations(), L"AsDelimitedFromCollection");
      EXPECT_EQ(S_OK, call.WithOwned(Variant::OfObject(host.collection.Get())).Run());
      EXPECT_EQ(VT_BSTR, call.Result().vt);
      if (!ViewOf(call.Result().bstrVal).empty()) ended.text = ViewOf(call.Result().bstrVal);
    }
    ended.reports = FailingMemory::Shown();
    return ended;
  }

  /// What the host must see of the fault at the call with this number.
  static Ended Expected(const Part& part, const Fault& fault, std::size_t call) {
    const Units whole = TextOfFirst(std::size(kRecords));
    const ShownError& said = part.isEnumerator ? fault.byStatus : fault.error;
    const ShownError error = said.AtLine(part.lines.at(call - 1));
    if (error.number == 0 && part.isEnumerator) return EndedEarly(call);
    if (error.number == 0 || part.PassesOver(error.number)) return {whole, {}};
    if (part.isRestored) return {std::nullopt, {Adtc(error)}};
    const View member =
        part.members.empty() ? View() : part.members.at((call - 1) % part.members.size());
    return {std::nullopt, {Dfc(error, member)}};
  }

  std::optional<FailingMemory> memory_;

 private:
  /// The texts of restored records, read from the records themselves.
  static Units SaveAll(const ComPtr<IDispatch>& restored) {
    Units text(kHeader);
    const auto collection = restored.As<_clsCollection>();
    for (long position = 1; position <= CountOf(collection); ++position) {
      const auto record = At(collection, position);
      for (const View name : {u"Title", u"Count"}) {
        text.append(Read(record.Get(), name)).append(u"\u00A5");
      }
      text.append(u"\u0152");
    }
    return text;
  }

  /// The results with an enumerator that ends early: the first call fetches the first record alone,
  /// and the others enumerate.
  static Ended EndedEarly(std::size_t call) {
    if (call == 1) return {std::nullopt, {Dfc(OutOfRange(3))}};
    return {TextOfFirst(call - 2), {}};
  }
};

TEST_F(HostileObjectTest, EveryPartFailsInEveryWay) {
  const std::vector<Fault> faults = Faults();
  int tried = 0;
  for (const Part& part : Parts()) {
    Host host;
    Make(host, part);
    const auto runs = [&](const Ended& expected) {
      const Ended ended = Run(host, part);
      EXPECT_EQ(expected.text, ended.text);
      EXPECT_EQ(expected.reports, ended.reports);
    };
    SCOPED_TRACE(part.title);
    const Ended whole{TextOfFirst(std::size(kRecords)), {}};
    runs(whole);
    const std::size_t calls = host.failing.calls;
    ASSERT_EQ(part.lines.size(), calls);
    for (const Fault& fault : faults) {
      for (const std::size_t chosen : std::set<std::size_t>{1, (calls + 1) / 2, calls}) {
        SCOPED_TRACE(std::string(fault.title) + ", call " + std::to_string(chosen));
        const long heap = FailingMemory::LiveBlocks();
        const long blocks = MallocSpy::Instance().LiveBlocks();
        const long objects = ScriptedObject::Alive();
        host.failing = {0, chosen, fault.outcome};
        runs(Expected(part, fault, chosen));
        EXPECT_GE(host.failing.calls, chosen);
        host.failing = {};
        runs(whole);
        EXPECT_EQ(heap, FailingMemory::LiveBlocks());
        EXPECT_EQ(blocks, MallocSpy::Instance().LiveBlocks());
        EXPECT_EQ(objects, ScriptedObject::Alive());
        ++tried;
      }
    }
  }
  RecordProperty("tried", tried);
  EXPECT_GT(tried, 300);
}

}  // namespace
}  // namespace brindlex::testing
