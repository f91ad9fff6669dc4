#pragma once

#include <string>

#include "tests/com/support/fixture.h"

namespace brindlex::testing {

/// The status of the run-time error `number`.
constexpr HRESULT ErrorStatus(unsigned number) { return static_cast<HRESULT>(0x800A0000 | number); }

/// One collection, through its vtable.
class CollectionTest : public ComTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  _clsCollection& Collection() const { return *collection_.Get(); }
  /// Lets go of the collection before the test ends.
  void Let() { collection_ = nullptr; }

  HRESULT Add(const VARIANT& item, const VARIANT& key = Missing(),
              const VARIANT& before = Missing(), const VARIANT& after = Missing()) const {
    return Collection().Add(item, key, before, after);
  }
  /// Adds texts, each under itself as key.
  void AddKeyed(std::initializer_list<TextView> texts) const;
  long Count() const;
  /// The status of asking for an entry.
  HRESULT Ask(const VARIANT& index) const;
  /// The entry, as Shown has it.
  std::u16string Entry(const VARIANT& index) const;
  /// All entries, as Shown has them, such as "[text a, long 2]".
  std::u16string Entries() const;

  /// Expects `status` to be the run-time error `number`, set on the thread by the collection.
  static void ExpectError(unsigned number, HRESULT status);

 private:
  ComPtr<_clsCollection> collection_;
};

}  // namespace brindlex::testing
