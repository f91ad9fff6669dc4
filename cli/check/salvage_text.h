#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "cli/format/file_format.h"
#include "cli/io/output.h"

namespace brindlex::cli {

/// What becomes of records that a marker in a value has damaged.
struct JoinOptions {
  /// Join where exactly one join fits.
  bool join = false;
  /// UTF-8: what a joined value has in place of the marker.
  std::string replacement = " ";
};

/// How many records went where. A record that was joined of two is one.
struct SalvageCounts {
  std::uint64_t valid = 0;
  std::uint64_t joined = 0;
  std::uint64_t damaged = 0;

  SalvageCounts& operator+=(const SalvageCounts& other);
};

/// A damaged record.
struct Damage {
  std::uint64_t offset = 0;
  std::uint64_t record = 0;
  /// Of a file of several collections, from 1; 0 elsewhere.
  std::uint64_t collection = 0;
  /// What is wrong, and which joins would fit or which one was made.
  std::string what;
  bool isJoined = false;
  Extent bytes;
};

/// Takes damaged records as they are found. May throw.
using DamageHandler = std::function<void(const Damage&)>;

/// What was found of the records of a file; of one of several collections, of these and of theirs.
struct SalvagedFile {
  SalvageCounts outer;
  SalvageCounts inner;
};

/// Sorts the records of a file, in each of its collections by themselves, into the valid ones,
/// which it writes, and the others, which it reports. In bounded memory: of a damaged record some
/// kilobytes are looked at, however long it is. Nothing is written of a text whose header has no
/// end or no fields; that is reported as one damage. Fails as Input and Output.
SalvagedFile SalvageFile(Input& input, const FileFormat& format, const JoinOptions& options,
                         Output& output, const DamageHandler& report, Progress& progress);

}  // namespace brindlex::cli
