#include "cli/format/skim.h"

namespace brindlex::tool {

Skimmed SkimByteByByte(std::string_view text, const SoundRecord& sound) {
  Skimmed skimmed;
  std::uint64_t fields = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char byte = text[at];
    if (byte == sound.fieldEnd) {
      ++fields;
    } else if (byte == sound.recordEnd) {
      if (fields != sound.fields || text[at - 1] != sound.fieldEnd) break;
      skimmed = {at + 1, skimmed.records + 1};
      fields = 0;
    } else if (const auto value = static_cast<unsigned char>(byte);
               value >= 0x80 && !sound.mayHold[value]) {
      break;
    }
  }
  return skimmed;
}

#ifndef BRINDLEX_HAS_VECTORS
SkimFunction NarrowSkim() { return nullptr; }
#endif
#ifndef BRINDLEX_HAS_WIDE_VECTORS
SkimFunction WideSkim() { return nullptr; }
#endif

namespace {

SkimFunction FastestSkim() {
  if (const SkimFunction wide = WideSkim()) return wide;
  if (const SkimFunction narrow = NarrowSkim()) return narrow;
  return SkimByteByByte;
}

}  // namespace

Skimmed Skim(std::string_view text, const SoundRecord& sound) {
  static const SkimFunction fastest = FastestSkim();
  return fastest(text, sound);
}

}  // namespace brindlex::tool
