#pragma once

#include <cstdint>
#include <memory>

#include "automation/object.h"
#include "automation/text.h"

namespace brindlex {

/// One file that exists.
class File {
 public:
  File() = default;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  virtual ~File() = default;

  /// The attribute word: read-only 1, hidden 2, system 4, archive 32 and so on.
  virtual std::int32_t Attributes() = 0;
  /// Error 70 when the system does not allow the change.
  virtual void SetAttributes(std::int32_t attributes) = 0;
};

/// A text file open for writing. Its end closes it and ignores failures.
class TextWriter {
 public:
  TextWriter() = default;
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;
  virtual ~TextWriter() = default;

  /// Writes `text` in the system's code page, with its replacement character for characters that
  /// it lacks; nothing is added and no line end translated. On failure a part may be written.
  virtual void Write(TextView text) = 0;
  virtual void Close() = 0;
};

/// A text file open for reading. Its end closes it.
class TextReader {
 public:
  TextReader() = default;
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;
  virtual ~TextReader() = default;

  /// Appends the next characters of the file, read in the system's code page, to `text`: at least
  /// one, and so many that reading all takes time linear in the file. Error 62 at the end of the
  /// file.
  virtual void AppendBlock(Text& text) = 0;
  virtual bool AtEnd() = 0;
  virtual void Close() = 0;
};

/// The files and folders of the machine, as its scripting run time gives access to them. Paths are
/// the system's; errors are 52 for a path with a NUL, 53 file not found, 70 permission denied, 76
/// path not found, or the system's own. Files and streams may outlive it.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// False for a folder.
  virtual bool FileExists(TextView path) = 0;
  virtual std::unique_ptr<File> GetFile(TextView path) = 0;

  /// A new, empty file in the place of any other. Error 70 when the one in its place is read-only,
  /// hidden, in use or a folder; 76 when the folder does not exist.
  virtual std::unique_ptr<TextWriter> CreateTextFile(TextView path) = 0;
  /// Error 53 when there is no such file.
  virtual std::unique_ptr<TextReader> OpenTextFile(TextView path) = 0;

  /// Copies the file with its attributes, over any other. Error 70 when that is read-only.
  virtual void Copy(TextView source, TextView destination) = 0;

  virtual bool FolderExists(TextView path) = 0;
  /// The last level only. Error 58 when it exists, 76 when its parent does not.
  virtual void CreateFolder(TextView path) = 0;

  /// The system folder, as an object with the property Path that the host can receive.
  virtual Object SystemFolder() = 0;
};

}  // namespace brindlex
