#include "platform/win32/file_system.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/automation/code_page.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/late_binding.h"
#include "platform/win32/automation/variant.h"
#include "platform/win32/system_error.h"

namespace brindlex {
namespace {

// ---- Errors ------------------------------------------------------------------------------------

constexpr std::int32_t kDeviceError = 57;
constexpr std::int32_t kDiskNotReady = 71;

/// `error` with a number that hosts know, where it has none but the system says more: in the status
/// itself, or, where that only says "failed", in what the thread's last call left behind.
RuntimeError Explained(RuntimeError error, DWORD lastError) {
  if (error.number >= 0) return error;
  DWORD code = 0;
  if (error.number == E_FAIL) code = lastError;
  if (HRESULT_FACILITY(error.number) == FACILITY_WIN32) code = HRESULT_CODE(error.number);
  const std::int32_t number = NumberOfSystemError(code);
  return number == 0 ? std::move(error) : RuntimeError(number);
}

/// Whether `lastError` is what a failed reading leaves behind, and nothing else would.
bool IsReadFailure(DWORD lastError) {
  const std::int32_t number = NumberOfSystemError(lastError);
  return number == kDeviceError || number == kDiskNotReady || lastError == ERROR_LOCK_VIOLATION;
}

// ---- Late-bound calls --------------------------------------------------------------------------

/// What `step()` yields, which leaves the thread's last error in `lastError`; its error, explained.
template <class Step>
auto Explaining(const DWORD& lastError, Step&& step) {
  SetLastError(ERROR_SUCCESS);
  try {
    return step();
  } catch (RuntimeError& error) {
    throw Explained(std::move(error), lastError);
  }
}

/// Keeps the caller's reference to a stream good through a call that reads. Some releases of the
/// run time let a reference go that is not theirs when reading fails, which shows in the count.
class KeptReference {
 public:
  explicit KeptReference(IUnknown& object) : object_(object), count_(object.AddRef()) {}
  KeptReference(const KeptReference&) = delete;
  KeptReference& operator=(const KeptReference&) = delete;
  ~KeptReference() {
    if (object_.AddRef() > count_) object_.Release();
    object_.Release();
  }

 private:
  IUnknown& object_;
  ULONG count_;
};

/// One object of the scripting run time.
class ScriptingObject {
 public:
  explicit ScriptingObject(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  template <class... Arguments>
  Variant Call(MemberName name, Arguments... arguments) const {
    DWORD lastError = ERROR_SUCCESS;
    return CallFor(lastError, name, std::move(arguments)...);
  }

  /// A call that reads. On some systems a reading that fails passes for the end of the file: that
  /// is an error here.
  template <class... Arguments>
  Variant CallToRead(MemberName name, Arguments... arguments) const {
    const KeptReference kept(*object_.Get());
    DWORD lastError = ERROR_SUCCESS;
    Variant result = CallFor(lastError, name, std::move(arguments)...);
    if (IsReadFailure(lastError)) throw RuntimeError(NumberOfSystemError(lastError));
    return result;
  }

  /// A call that writes. On some systems one that has no room for the whole text only says that it
  /// failed, and the system nothing at all.
  void CallToWrite(MemberName name, Variant text) const {
    DWORD lastError = ERROR_SUCCESS;
    try {
      CallFor(lastError, name, std::move(text));
    } catch (const RuntimeError& error) {
      if (error.number == E_FAIL && lastError == ERROR_SUCCESS) {
        throw RuntimeError(error_number::kDiskFull);
      }
      throw;
    }
  }

  template <class... Arguments>
  ScriptingObject CallForObject(MemberName name, Arguments... arguments) const {
    ComPtr<IDispatch> object = ObjectOf(Call(name, std::move(arguments)...).Get());
    if (!object) throw RuntimeError(error_number::kObjectNotSet);
    return ScriptingObject(std::move(object));
  }

  template <class... Arguments>
  bool CallForFlag(MemberName name, Arguments... arguments) const {
    return FlagOf(Call(name, std::move(arguments)...).Get());
  }

  void Let(MemberName name, Variant value) const {
    const DISPID member = IdOf(name);
    DWORD lastError = ERROR_SUCCESS;
    Explaining(lastError, [&] {
      brindlex::Let(*object_.Get(), member, value.Get(), GetUserDefaultLCID(), &lastError);
    });
  }

  IDispatch* Get() const { return object_.Get(); }

 private:
  static constexpr std::size_t kMostArguments = 4;

  template <class... Arguments>
  Variant CallFor(DWORD& lastError, MemberName name, Arguments... arguments) const {
    static_assert(sizeof...(Arguments) <= kMostArguments);
    std::array<Variant, sizeof...(Arguments)> owned = {std::move(arguments)...};
    return CallWith(lastError, name, owned);
  }

  /// Throws anew what the call throws, so it has a frame of its own: under a debugger, Wine 8
  /// restores a register wrongly for a frame that does so, and one with arguments to destroy would
  /// need it.
  [[gnu::noinline]] Variant CallWith(DWORD& lastError, MemberName name,
                                     std::span<const Variant> arguments) const;

  DISPID IdOf(MemberName name) const { return MemberId(*object_.Get(), name); }

  ComPtr<IDispatch> object_;
};

Variant ScriptingObject::CallWith(DWORD& lastError, MemberName name,
                                  std::span<const Variant> arguments) const {
  std::array<VARIANT, kMostArguments> borrowed;
  std::transform(arguments.begin(), arguments.end(), borrowed.begin(),
                 [](const Variant& argument) { return argument.Get(); });
  const DISPID member = IdOf(name);
  return Explaining(lastError, [&] {
    return Invoke(*object_.Get(), member, kCallOrGet, {borrowed.data(), arguments.size()},
                  &lastError);
  });
}

Variant TextArgument(TextView text) { return Variant::OfText(text); }

Variant NumberArgument(std::int32_t number) {
  Variant made;
  made.Get().vt = VT_I4;
  made.Get().lVal = number;
  return made;
}

Variant FlagArgument(bool flag) {
  Variant made;
  made.Get().vt = VT_BOOL;
  made.Get().boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  return made;
}

// ---- Texts and paths ---------------------------------------------------------------------------

/// `path` as an argument. Error 52 for one with an end of its own inside: the run time would take
/// what comes before it for the path.
Variant PathArgument(TextView path) {
  if (path.find(u'\0') != TextView::npos) throw RuntimeError(error_number::kBadFileName);
  return TextArgument(path);
}

/// The length of the next part of `text` that is written by one call, which parts no pair of
/// surrogates. The run time counts the bytes of a call in 32 bits, and some releases write nothing,
/// without an error, when there are too many.
std::size_t WritablePart(TextView text) {
  constexpr std::size_t kMostUnits = std::size_t{1} << 24U;
  if (text.size() <= kMostUnits) return text.size();
  return IS_HIGH_SURROGATE(text[kMostUnits - 1]) ? kMostUnits - 1 : kMostUnits;
}

bool IsAscii(TextView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 128; });
}

// ---- The interfaces ----------------------------------------------------------------------------

class ScriptingFile : public File {
 public:
  explicit ScriptingFile(ScriptingObject file) : file_(std::move(file)) {}

  std::int32_t Attributes() override { return WholeNumberOf(file_.Call(u"Attributes").Get()); }
  void SetAttributes(std::int32_t attributes) override {
    file_.Let(u"Attributes", NumberArgument(attributes));
  }

 private:
  ScriptingObject file_;
};

class ScriptingWriter : public TextWriter {
 public:
  explicit ScriptingWriter(ScriptingObject stream) : stream_(std::move(stream)) {}

  void Write(TextView text) override {
    // An empty text is written too, as one part.
    do {
      const TextView part = text.substr(0, WritablePart(text));
      if (IsAscii(part)) {
        stream_.CallToWrite(u"Write", TextArgument(part));
      } else {
        // Some releases refuse to write a character that the code page lacks, in place of writing
        // its replacement.
        stream_.CallToWrite(u"Write", TextArgument(ThroughCodePage(part)));
      }
      text.remove_prefix(part.size());
    } while (!text.empty());
  }
  void Close() override { stream_.Call(u"Close"); }

 private:
  ScriptingObject stream_;
};

/// How many characters a file of `bytes` bytes has at least.
std::size_t FewestCharacters(std::int32_t bytes) {
  CPINFO codePage;
  if (GetCPInfo(CP_ACP, &codePage) == FALSE) return 0;
  return static_cast<std::size_t>(std::max(bytes, 0)) / codePage.MaxCharSize;
}

class ScriptingReader : public TextReader {
 public:
  /// A file with less than `expected` characters ends too early.
  ScriptingReader(ScriptingObject stream, std::size_t expected)
      : stream_(std::move(stream)), expected_(expected) {}

  void AppendBlock(Text& text) override {
    // Not ReadAll, nor larger blocks: on some systems either takes time quadratic in what it reads.
    constexpr std::int32_t kCharacters = 16384;
    const std::size_t before = text.size();
    Variant storage;
    text.append(
        ViewAsText(stream_.CallToRead(u"Read", NumberArgument(kCharacters)).Get(), storage));
    count_ += text.size() - before;
  }
  bool AtEnd() override {
    const bool isAtEnd = FlagOf(stream_.CallToRead(u"AtEndOfStream").Get());
    // A disk that fails half-way may yield a part first, which then looks like the last one.
    if (isAtEnd && count_ < expected_) throw RuntimeError(kDeviceError);
    return isAtEnd;
  }
  void Close() override { stream_.Call(u"Close"); }

 private:
  ScriptingObject stream_;
  std::size_t expected_;
  std::size_t count_ = 0;
};

class ScriptingFileSystem : public FileSystem {
 public:
  ScriptingFileSystem(const DispatchAdapter& adapter, ScriptingObject files)
      : adapter_(adapter), files_(std::move(files)) {}

  bool FileExists(TextView path) override {
    return files_.CallForFlag(u"FileExists", PathArgument(path));
  }

  std::unique_ptr<File> GetFile(TextView path) override {
    return std::make_unique<ScriptingFile>(files_.CallForObject(u"GetFile", PathArgument(path)));
  }

  std::unique_ptr<TextWriter> CreateTextFile(TextView path) override {
    constexpr bool kOverwrite = true;
    constexpr bool kUnicode = false;
    return std::make_unique<ScriptingWriter>(files_.CallForObject(
        u"CreateTextFile", PathArgument(path), FlagArgument(kOverwrite), FlagArgument(kUnicode)));
  }

  std::unique_ptr<TextReader> OpenTextFile(TextView path) override {
    constexpr std::int32_t kForReading = 1;
    constexpr std::int32_t kAsAscii = 0;
    auto stream =
        files_.CallForObject(u"OpenTextFile", PathArgument(path), NumberArgument(kForReading),
                             FlagArgument(false), NumberArgument(kAsAscii));
    // A device has no size, and may not be known as a file at all.
    std::int32_t size = 0;
    TrapSilently([&] {
      size =
          WholeNumberOf(files_.CallForObject(u"GetFile", PathArgument(path)).Call(u"Size").Get());
    });
    return std::make_unique<ScriptingReader>(std::move(stream), FewestCharacters(size));
  }

  void Copy(TextView source, TextView destination) override {
    constexpr bool kOverwrite = true;
    files_.Call(u"CopyFile", PathArgument(source), PathArgument(destination),
                FlagArgument(kOverwrite));
  }

  bool FolderExists(TextView path) override {
    return files_.CallForFlag(u"FolderExists", PathArgument(path));
  }

  void CreateFolder(TextView path) override { files_.Call(u"CreateFolder", PathArgument(path)); }

  Object SystemFolder() override {
    constexpr std::int32_t kSystemFolder = 1;
    return adapter_.Wrap(ComPtr<IDispatch>(
        files_.CallForObject(u"GetSpecialFolder", NumberArgument(kSystemFolder)).Get()));
  }

 private:
  const DispatchAdapter& adapter_;
  ScriptingObject files_;
};

}  // namespace

std::unique_ptr<FileSystem> NewScriptingFileSystem(const DispatchAdapter& adapter) {
  CLSID classId;
  Check(CLSIDFromProgID(L"Scripting.FileSystemObject", &classId));
  ComPtr<IDispatch> made;
  Check(
      CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, made.ReceiveVoid()));
  return std::make_unique<ScriptingFileSystem>(adapter, ScriptingObject(std::move(made)));
}

}  // namespace brindlex
