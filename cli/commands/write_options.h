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

/// What the commands that make a file share.
struct WriteOptions : FormOptions {
  std::string path;
  OutputOptions output;
  FormatOptions format;
};

void AddWriteOptions(CLI::App& command, WriteOptions& options);

/// Makes the file of what `read` reads from a source and passes to a writer, in the form that the
/// options ask for, else in the one that the input carries.
using ReadTable = std::function<void(const ReadAt& source, const WriterMaker& makeWriter)>;
void MakeFile(const WriteOptions& options, const ReadTable& read);

}  // namespace brindlex::cli
