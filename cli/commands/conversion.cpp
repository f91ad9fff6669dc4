#include "cli/commands/conversion.h"

#include "cli/format/collection_reader.h"
#include "cli/io/diagnostics.h"
#include "cli/io/failure.h"
#include "cli/io/system.h"

namespace brindlex::cli {
namespace {

bool IsWrittenAtOnce(const OutputOptions& options) {
  return options.path != "-" && system::KindOf(options.path) != system::FileKind::kOther;
}

void CheckLosses(const Losses& losses, bool allowsLosses, std::string_view lineBreaksHint) {
  std::string all;
  for (const std::string& sentence : losses.Sentences()) {
    if (allowsLosses) Warn("left out: " + sentence);
    all += (all.empty() ? "" : "; ") + sentence;
  }
  if (allowsLosses || all.empty()) return;
  const bool isLineBreaks = losses.IsOnly(kLostLineBreak) || losses.IsOnly(kLostLineBreaks);
  throw ConversionError("converting back would give another file, so nothing is written: " + all +
                        "; " + std::string(isLineBreaks ? lineBreaksHint : kLossyHint));
}

}  // namespace

void AddInPlace(CLI::App& command, bool& isInPlace) {
  command.add_flag("--in-place", isInPlace, "Replace FILE itself");
}

OutputOptions InPlaceTarget(const std::string& path, const OutputOptions& output, bool isInPlace) {
  if (!isInPlace) return output;
  if (path == "-" || output.path != "-") {
    throw UsageError("--in-place writes FILE, which is then no - and needs no -o");
  }
  return {path, /*force=*/true};
}

void RunConversion(const OutputOptions& options, bool allowsLosses, const Conversion& convert,
                   Input* replaced, std::string_view lineBreaksHint) {
  Output output(options);
  const auto write = [&](std::string_view bytes) { output.Write(bytes); };
  Losses losses;
  if (IsWrittenAtOnce(options)) {
    convert(write, losses);
    CheckLosses(losses, allowsLosses, lineBreaksHint);
  } else {
    convert([](std::string_view) {}, losses);
    CheckLosses(losses, allowsLosses, lineBreaksHint);
    Losses again;
    convert(write, again);
  }
  if (replaced != nullptr) replaced->Close();
  output.Commit();
}

}  // namespace brindlex::cli
