#pragma once

#include "automation/text.h"
#include "environment/trap.h"
#include "platform/report.h"

namespace brindlex {

/// A report of `pending` with `caption` and `text`.
Report ReportOf(const PendingError& pending, TextView caption, Text text);

/// Layout A, of the persistence classes: the first line, a blank line, the description, " Number: "
/// and the number, " Line: " and the line.
Report TaggedReport(TextView caption, TextView firstLine, const PendingError& pending);

/// Layout B: the description, " No. " and the number; on the next line `location` (such as
/// "in Project.Module.Procedure ") and "at line " and the line. The caption is "Application Error".
Report LocatedReport(TextView location, const PendingError& pending);

/// Layout C, of the file routines: `sentence` (what was being done, to what; it ends with its own
/// line breaks), "Error: " and the description, " Error Number: " and the number,
/// " Line: " and the line, then `context` without any separator. The caption is "KX Error".
Report ContextualReport(TextView sentence, const PendingError& pending, TextView context = {});

/// The short form of layout C: `tag`, directly followed by the description, " Error Number: " and
/// the number, " Line " (without a colon) and the line. The caption is "KX Error".
Report ShortContextualReport(TextView tag, const PendingError& pending);

}  // namespace brindlex
