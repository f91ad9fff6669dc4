#include "cli/commands/conversion.h"

#include "cli/convert/table_target.h"
#include "cli/io/system.h"
#include "cli/text/diagnostics.h"

namespace brindlex::tool {
namespace {

bool IsThereWholeOrNot(const OutputOptions& options) {
  return options.path != "-" && system::KindOf(options.path) != system::FileKind::kOther;
}

void Tell(const Losses& losses, bool areAccepted) {
  if (losses.IsEmpty()) return;
  std::string all;
  for (const std::string& sentence : losses.Sentences()) {
    if (areAccepted) Say("left out: " + sentence);
    all += (all.empty() ? "" : "; ") + sentence;
  }
  if (areAccepted) return;
  throw ConversionError("converting back would give another file, so nothing is written: " + all +
                        "; --lossy converts without");
}

}  // namespace

void RunConversion(const OutputOptions& options, bool areAccepted, const Conversion& convert) {
  Output output(options);
  Losses losses;
  if (!IsThereWholeOrNot(options)) {
    convert([](std::string_view) {}, losses);
    Tell(losses, areAccepted);
    Losses again;
    convert([&](std::string_view bytes) { output.Write(bytes); }, again);
  } else {
    convert([&](std::string_view bytes) { output.Write(bytes); }, losses);
    Tell(losses, areAccepted);
  }
  output.Commit();
}

}  // namespace brindlex::tool
