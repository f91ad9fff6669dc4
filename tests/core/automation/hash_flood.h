#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "tests/core/automation/hash_key_fixture.h"

namespace brindlex {

/// The processor time of this process in seconds. On Windows std::clock counts the time on the
/// wall.
inline double ProcessorSeconds() {
#ifdef _WIN32
  const auto seconds = [](const FILETIME& time) {
    return (time.dwHighDateTime * 4294967296.0 + time.dwLowDateTime) / 1e7;
  };
  FILETIME created;
  FILETIME ended;
  FILETIME kernel;
  FILETIME user;
  GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
  return seconds(kernel) + seconds(user);
#else
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
#endif
}

/// The processor time of one run in seconds, since others share the machine; of as many runs as the
/// clock's ticks ask for, after a first one that only warms caches up.
inline double TimeOf(const std::function<void()>& run) {
  constexpr double kEnough = 0.1;
  run();
  const double start = ProcessorSeconds();
  double taken = 0;
  int runs = 0;
  for (; taken < kEnough; ++runs) {
    run();
    taken = ProcessorSeconds() - start;
  }
  return taken / runs;
}

/// A test's `run` handles names or keys, which collide under a known key. Under that key it must
/// take much longer than under another one, or the key would not matter; under the other one it
/// takes about as long as for any names.
class HashFlood : public HashKeyTest {
 protected:
  using Names = std::vector<std::string>;

  static constexpr SipKey kKnownKey{1, 2};
  static constexpr SipKey kSecretKey{0x0123456789ABCDEFU, 0xFEDCBA9876543210U};

  static void UseKnownKey() { SetHashKey(kKnownKey); }

  static void UseSecretKey() { SetHashKey(kSecretKey); }

  /// As many names for which `isWanted` returns true; of letters and digits in one case.
  static Names MakeNames(std::size_t count,
                         const std::function<bool(const std::string&)>& isWanted) {
    Names names;
    for (std::uint64_t number = 0; names.size() < count; ++number) {
      const std::string name = "n" + std::to_string(number * 7919);
      if (isWanted(name)) names.push_back(name);
    }
    return names;
  }

  static void Expect(const Names& crafted, const std::function<void(const Names&)>& run) {
    UseKnownKey();
    const double flooded = TimeOf([&] { run(crafted); });
    UseSecretKey();
    EXPECT_GT(flooded, 3 * TimeOf([&] { run(crafted); }));
    ExpectAsQuickAsOthers(crafted, run);
  }

  static void ExpectAsQuickAsOthers(const Names& crafted,
                                    const std::function<void(const Names&)>& run) {
    const Names usual = MakeNames(crafted.size(), [](const std::string&) { return true; });
    EXPECT_LT(TimeOf([&] { run(crafted); }), 5 * TimeOf([&] { run(usual); }));
  }
};

}  // namespace brindlex
