#pragma once

#include <cstddef>
#include <initializer_list>

namespace brindlex {

/// The memory blocks that operator new has given out and operator delete has not got back, in the
/// whole program.
std::size_t LiveAllocations() noexcept;

/// Measures the memory of operator new from its making on, in the whole program; in bytes, as the
/// heap rounds them up. One at a time, on one thread.
class MemoryMeter {
 public:
  MemoryMeter() noexcept;

  /// The most that was ever held at one time beyond what was held at the beginning.
  std::size_t Peak() const noexcept;
  /// What is held now beyond what was held at the beginning.
  std::size_t Held() const noexcept;

 private:
  std::size_t atStart_;
};

/// While it lives, operator new fails with std::bad_alloc: at the allocation with number `nth`,
/// counted from 1, and, with kFromThere, at every one after it. One at a time, on one thread.
class FailingNew {
 public:
  enum class Extent { kOnce, kFromThere };

  FailingNew(std::size_t nth, Extent extent) noexcept;
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();

  /// True once the chosen allocation has been asked for.
  static bool Failed() noexcept;
};

/// Runs `step()` with its first allocation failing, then with its second, and so on until none is
/// left to fail, and `check(failed)` after each, when operator new works again. Does so twice, the
/// second time with all allocations after the chosen one failing too. `step` must live with the
/// failures; nothing may leave it. Returns the number of allocations that were failed in turn.
template <class Step, class Check>
std::size_t FailEveryAllocation(Step&& step, Check&& check) {
  std::size_t failures = 0;
  for (const auto extent : {FailingNew::Extent::kOnce, FailingNew::Extent::kFromThere}) {
    bool failed = true;
    for (std::size_t nth = 1; failed; ++nth) {
      {
        const FailingNew failing(nth, extent);
        step();
        failed = FailingNew::Failed();
      }
      check(failed);
      if (failed) ++failures;
    }
  }
  return failures;
}

}  // namespace brindlex
