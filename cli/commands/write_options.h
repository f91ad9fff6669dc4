#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/commands/command_line.h"
#include "cli/convert/text_source.h"
#include "cli/format/delimited_writer.h"

namespace brindlex::cli {

/// What the command line says of a new file's form, besides encoding and markers.
struct FormOptions {
  std::optional<std::string> like;
  bool wantsByteOrderMark = false;
  bool wantsNoByteOrderMark = false;
  std::optional<int> lineBreaks;
};

/// Adds --like, --bom, --no-bom and --line-breaks; `options` must outlive the parsing.
void AddFormOptions(CLI::App& command, FormOptions& options);

/// Puts the byte order mark and the line breaks of `options` into `form`. UsageError for a byte
/// order mark in a code page.
void ApplyFormOptions(const FormOptions& options, DelimitedForm& form);

/// What a command that reads a file of the format and writes one takes for the form of the new one;
/// the rest is that of a file that it reads.
struct TargetOptions : FormOptions {
  std::optional<std::string> encoding;
  std::optional<std::string> fieldEnd;
  std::optional<std::string> recordEnd;
};

/// Adds --to-encoding, --to-field-end, --to-record-end and what AddFormOptions adds; `options` must
/// outlive the parsing.
void AddTargetOptions(CLI::App& command, TargetOptions& options);

/// The form of the new file: that of `source`, which `reading` says how to read, or of the file of
/// --like, with what the options name in its place. In another encoding UTF-16 alone begins with a
/// byte order mark. UsageError as RequireEncoding and ApplyFormOptions.
DelimitedForm TargetForm(const TargetOptions& options, Input& source, const FormatOptions& reading);

/// What the commands that make a file share.
struct WriteOptions : FormOptions {
  std::string path;
  OutputOptions output;
  FormatOptions format;
};

void AddWriteOptions(CLI::App& command, WriteOptions& options);

/// Reads a table from a source and passes it to a writer.
using ReadTable = std::function<void(const ReadAt& source, const WriterMaker& makeWriter)>;

/// Makes the file of what `read` reads, in the form that the options ask for, else in the one that
/// the input carries.
void MakeFile(const WriteOptions& options, const ReadTable& read);

}  // namespace brindlex::cli
