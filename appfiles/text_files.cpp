#include "appfiles/text_files.h"

#include <algorithm>
#include <utility>

#include "appfiles/settings_folders.h"
#include "environment/report.h"
#include "environment/trap.h"

namespace brindlex {
namespace {

constexpr char16_t kBackslash = u'\\';
constexpr TextView kLineBreak = u"\r\n";

/// Takes all attributes from the file `path`, if there is one, so that it can be overwritten.
/// Returns those that it had, 0 when there is nothing to set back.
std::int32_t ClearAttributes(FileSystem& files, TextView path) {
  if (!files.FileExists(path)) return 0;
  const auto file = files.GetFile(path);
  const std::int32_t attributes = file->Attributes();
  if (attributes != 0) file->SetAttributes(0);
  return attributes;
}

void RestoreAttributes(FileSystem& files, TextView path, std::int32_t attributes) {
  if (attributes != 0) files.GetFile(path)->SetAttributes(attributes);
}

Text WholeTextOf(TextReader& reader) {
  Text text;
  do {
    reader.AppendBlock(text);
  } while (!reader.AtEnd());
  return text;
}

bool ContainsIgnoringCase(TextView text, TextView sought) {
  return std::search(text.begin(), text.end(), sought.begin(), sought.end(),
                     [](char16_t left, char16_t right) {
                       return FoldCase(left) == FoldCase(right);
                     }) != text.end();
}

/// Reports a save that has failed, under the code of its kind, with all that was to be saved.
void ReportSave(Platform& platform, TextView code, TextView path, TextView text, bool quietIfDenied,
                const PendingError& pending) {
  if (quietIfDenied && pending.error.number == error_number::kPermissionDenied) return;
  Text sentence = u"There was a system error [";
  sentence.append(code).append(u"] saving a file: ").append(path).append(kLineBreak);
  Report report = ContextualReport(sentence, pending, u"Trying to save: ");
  report.text.append(text);
  platform.ShowReport(report);
}

Report ReadReport(Platform& platform, TextView path, const PendingError& pending) {
  Text sentence;
  if (ContainsIgnoringCase(path, GetWinSysDirFolder(platform).GetText(u"Path"))) {
    sentence = u"There was an error [FTS-W] opening a file: ";
    sentence.append(FileNameFromPath(platform, path)).append(kLineBreak).append(kLineBreak);
  } else {
    sentence = u"There was an error [FTS-FSO] opening a file: ";
    sentence.append(path).append(kLineBreak);
  }
  return ContextualReport(sentence, pending);
}

}  // namespace

bool SaveTextFile(Platform& platform, TextView path, TextView text, bool quietIfDenied) {
  bool result = false;
  Trap(
      [&](CurrentLine& line) {
        const auto files = platform.NewFileSystem();
        line = 1;
        const std::int32_t attributes = ClearAttributes(*files, path);
        line = 2;
        const auto writer = files->CreateTextFile(path);
        line = 3;
        writer->Write(text);
        line = 4;
        writer->Close();
        line = 5;
        RestoreAttributes(*files, path, attributes);
        result = true;
      },
      [&](const PendingError& pending) {
        ReportSave(platform, u"FFS-FSO-KX", path, text, quietIfDenied, pending);
      });
  return result;
}

bool SaveTextFileSafely(Platform& platform, TextView path, TextView text, bool quietIfDenied) {
  bool result = false;
  Trap(
      [&](CurrentLine& line) {
        line = 1;
        const std::string bytes = platform.InCodePage(text);
        line = 2;
        const auto replacement = platform.NewFileReplacement(path);
        line = 3;
        replacement->TakeOver();
        line = 4;
        replacement->Write(bytes);
        line = 5;
        replacement->Flush();
        line = 6;
        replacement->Commit();
        result = true;
      },
      [&](const PendingError& pending) {
        ReportSave(platform, u"FFS-SAFE-KX", path, text, quietIfDenied, pending);
      });
  return result;
}

Text ReadTextFile(Platform& platform, TextView path, bool quietIfMissing) {
  constexpr std::int32_t kOpening = 1;
  Text result;
  Trap(
      [&](CurrentLine& line) {
        const auto files = platform.NewFileSystem();
        line = kOpening;
        const auto reader = files->OpenTextFile(path);
        line = 2;
        Text text = WholeTextOf(*reader);
        line = 3;
        reader->Close();
        result = std::move(text);
      },
      [&](const PendingError& pending) {
        const bool isMissing =
            pending.error.number == error_number::kFileNotFound && pending.line == kOpening;
        if (quietIfMissing && isMissing) return;
        platform.ShowReport(ReadReport(platform, path, pending));
      });
  return result;
}

Text FileNameFromPath(Platform& platform, TextView path) {
  Text result;
  Trap(
      [&](CurrentLine&) {
        TextView rest = path;
        if (rest.ends_with(kBackslash)) rest.remove_suffix(1);
        // Where there is none, what is found is npos, and 1 more the beginning.
        result = rest.substr(rest.rfind(kBackslash) + 1);
      },
      [&](const PendingError& pending) {
        platform.ShowReport(ShortContextualReport(u"Error FN1", pending));
      });
  return result;
}

void CopyFileKeepAttributes(Platform& platform, TextView source, TextView destination) {
  const auto files = platform.NewFileSystem();
  const std::int32_t attributes = ClearAttributes(*files, destination);
  files->Copy(source, destination);
  RestoreAttributes(*files, destination, attributes);
}

}  // namespace brindlex
