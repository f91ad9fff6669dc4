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

void CheckLossReport(const LossReport& lossReport, bool allowsLossy,
                     std::string_view lineBreaksHint) {
  std::string all;
  for (const std::string& sentence : lossReport.Sentences()) {
    if (allowsLossy) Warn("left out: " + sentence);
    all += (all.empty() ? "" : "; ") + sentence;
  }
  if (allowsLossy || all.empty()) return;
  const bool isLineBreaks = lossReport.IsOnly(kLostLineBreak) || lossReport.IsOnly(kLostLineBreaks);
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

void RunConversion(const OutputOptions& options, bool allowsLossy, const Conversion& convert,
                   Input* replaced, std::string_view lineBreaksHint) {
  Output output(options);
  const auto write = [&](std::string_view bytes) { output.Write(bytes); };
  LossReport lossReport;
  if (IsWrittenAtOnce(options)) {
    convert(write, lossReport);
    CheckLossReport(lossReport, allowsLossy, lineBreaksHint);
  } else {
    convert([](std::string_view) {}, lossReport);
    CheckLossReport(lossReport, allowsLossy, lineBreaksHint);
    LossReport again;
    convert(write, again);
  }
  if (replaced != nullptr) replaced->Close();
  output.Commit();
}

}  // namespace brindlex::cli
