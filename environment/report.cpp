#include "environment/report.h"

namespace brindlex {
namespace {

constexpr TextView kLineBreak = u"\r\n";

Text Number(const PendingError& pending) { return DecimalText(pending.error.number); }

Text Line(const PendingError& pending) { return DecimalText(pending.line); }

}  // namespace

Report ReportOf(const PendingError& pending, TextView caption, Text text) {
  return {Text(caption), std::move(text), pending.error.number, pending.error.description,
          pending.line};
}

Report TaggedReport(TextView caption, TextView firstLine, const PendingError& pending) {
  Text text(firstLine);
  text.append(kLineBreak).append(kLineBreak).append(pending.error.description);
  text.append(u" Number: ").append(Number(pending));
  text.append(u" Line: ").append(Line(pending));
  return ReportOf(pending, caption, std::move(text));
}

Report LocatedReport(TextView location, const PendingError& pending) {
  Text text(pending.error.description);
  text.append(u" No. ").append(Number(pending)).append(kLineBreak);
  text.append(location).append(u"at line ").append(Line(pending));
  return ReportOf(pending, u"Application Error", std::move(text));
}

Report ContextualReport(TextView sentence, const PendingError& pending, TextView context) {
  Text text(sentence);
  text.append(u"Error: ").append(pending.error.description);
  text.append(u" Error Number: ").append(Number(pending));
  text.append(u" Line: ").append(Line(pending)).append(context);
  return ReportOf(pending, u"KX Error", std::move(text));
}

Report ShortContextualReport(TextView tag, const PendingError& pending) {
  Text text(tag);
  text.append(pending.error.description);
  text.append(u" Error Number: ").append(Number(pending));
  text.append(u" Line ").append(Line(pending));
  return ReportOf(pending, u"KX Error", std::move(text));
}

}  // namespace brindlex
