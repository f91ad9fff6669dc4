#include "persistence/delimited_text.h"

#include <utility>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

constexpr TextView kLineBreak = u"\r\n";

Text GivenMarker(TextView marker) {
  if (marker.empty()) throw RuntimeError(error_number::kInvalidCall);
  return Text(marker);
}

}  // namespace

Markers DefaultMarkers() { return {u"\u00A5", u"\u0152"}; }

Markers InternalMarkers() { return {u"\u00BB", u"\u0160"}; }

Markers MarkersOr(Markers defaults, const OptionalText& recordEnd, const OptionalText& fieldEnd) {
  if (recordEnd.Read()) defaults.recordEnd = GivenMarker(*recordEnd.Read());
  if (fieldEnd.Read()) defaults.fieldEnd = GivenMarker(*fieldEnd.Read());
  return defaults;
}

DelimitedItems::DelimitedItems(TextView text, TextView delimiter) : delimiter_(delimiter) {
  const std::size_t last = text.rfind(delimiter);
  if (last == TextView::npos) throw RuntimeError(error_number::kInvalidCall);
  rest_ = text.substr(0, last);
}

bool DelimitedItems::Next(TextView& item) {
  if (!rest_) return false;
  const std::size_t end = rest_->find(delimiter_);
  item = rest_->substr(0, end);
  if (end == TextView::npos) {
    rest_.reset();
  } else {
    rest_->remove_prefix(end + delimiter_.size());
  }
  return true;
}

TextView StripRecordBreaks(TextView text, TextView recordEnd, Text& storage) {
  const Text oneBreak = Text(recordEnd).append(kLineBreak);
  if (text.find(oneBreak) == TextView::npos) return text;
  const Text twoBreaks = Text(oneBreak).append(kLineBreak);
  storage = ReplaceAll(ReplaceAll(text, twoBreaks, recordEnd), oneBreak, recordEnd);
  return storage;
}

std::optional<std::vector<TextView>> HeaderNames(TextView text, const Markers& markers) {
  constexpr std::size_t kThirdCharacter = 2;
  const std::size_t recordEnd = text.find(markers.recordEnd);
  if (recordEnd == TextView::npos || recordEnd < kThirdCharacter) return std::nullopt;
  TextView rest = text.substr(0, recordEnd + markers.recordEnd.size());
  std::vector<TextView> names;
  for (std::size_t end = rest.find(markers.fieldEnd); end != TextView::npos;
       end = rest.find(markers.fieldEnd)) {
    names.push_back(rest.substr(0, end));
    rest.remove_prefix(end + markers.fieldEnd.size());
  }
  return names;
}

void AppendHeader(const std::vector<Text>& names, const Markers& markers, Text& text) {
  for (const Text& name : names) text.append(name).append(markers.fieldEnd);
  text.append(markers.recordEnd);
}

}  // namespace brindlex
