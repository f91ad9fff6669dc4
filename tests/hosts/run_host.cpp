// Runs a script in the Windows Script Host as a user would, or a program, and closes the message
// boxes that it shows, as a user would.
//
//   run_host [--debug] SCRIPT_OR_EXE [LAST_LINE [ARGUMENT...]]
//
// The arguments are those of the program, such as the script that an interpreter runs.
// The script says what it expects: a line "expects box: CAPTION|TEXT" for each box, in their order,
// with line breaks in TEXT written as \r\n, and LAST_LINE ("all passed" when none is given) as its
// last line, since failures in a script can be silent. Exit status 0 when all of that came true.
//
// With --debug the host runs under a debugger, which makes it a strict one and fails the run at
// every first-chance fault, from the start of the process to its end (tests/hosts/debugger.h).

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/hosts/debugger.h"
#include "tests/hosts/start_process.h"

namespace {

constexpr DWORD kLongestRunMs = 120000;
constexpr UINT kLongestAnswerMs = 2000;

std::string Narrow(const std::wstring& text) {
  std::string bytes(text.size() * 4, '\0');
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                          static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(length));
  return bytes;
}

std::string WithVisibleBreaks(const std::string& text) {
  std::string visible;
  for (const char unit : text) {
    if (unit == '\r') {
      visible += "\\r";
    } else if (unit == '\n') {
      visible += "\\n";
    } else {
      visible += unit;
    }
  }
  return visible;
}

std::wstring TextOf(HWND window) {
  wchar_t text[4096];
  DWORD_PTR length = 0;
  // With a time limit, since the window may be going just now.
  SendMessageTimeoutW(window, WM_GETTEXT, 4096, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG,
                      kLongestAnswerMs, &length);
  return {text, static_cast<std::size_t>(length)};
}

std::wstring ClassOf(HWND window) {
  wchar_t name[64];
  return {name, static_cast<std::size_t>(GetClassNameW(window, name, 64))};
}

/// The boxes of one process, in the order in which they were closed.
struct Boxes {
  DWORD process = 0;
  std::vector<std::string> closed;
};

BOOL CALLBACK FindText(HWND control, LPARAM data) {
  const bool isText = ClassOf(control) == L"Static" &&
                      (GetWindowLongW(control, GWL_STYLE) & SS_TYPEMASK) != SS_ICON;
  if (isText) *reinterpret_cast<std::wstring*>(data) = TextOf(control);
  return TRUE;
}

BOOL CALLBACK CloseBox(HWND window, LPARAM data) {
  Boxes& boxes = *reinterpret_cast<Boxes*>(data);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != boxes.process || IsWindowVisible(window) == FALSE ||
      ClassOf(window) != L"#32770") {
    return TRUE;
  }
  // A mark on the window itself, since a later box may get the handle of one that is gone.
  constexpr wchar_t kClosed[] = L"brindlex.closed";
  if (GetPropW(window, kClosed) != nullptr) return TRUE;
  std::wstring text;
  EnumChildWindows(window, FindText, reinterpret_cast<LPARAM>(&text));
  const std::wstring caption = TextOf(window);
  // A box that does not answer yet, or is still being filled, is looked at again.
  if (caption.empty() || text.empty()) return TRUE;
  SetPropW(window, kClosed, window);
  boxes.closed.push_back(WithVisibleBreaks(Narrow(caption + L"|" + text)));
  PostMessageW(window, WM_COMMAND, IDOK, 0);
  return TRUE;
}

std::vector<std::string> LinesOf(const std::string& output) {
  std::vector<std::string> lines;
  std::string line;
  for (const char unit : output) {
    if (unit == '\n') {
      lines.push_back(std::exchange(line, {}));
    } else if (unit != '\r') {
      line += unit;
    }
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

/// `path` with drive and backslashes: the script host takes a leading slash for an option.
std::wstring FullPath(const wchar_t* path) {
  wchar_t full[MAX_PATH];
  return {full, GetFullPathNameW(path, MAX_PATH, full, nullptr)};
}

/// A running script whose output goes to a file that goes with this object.
class Script {
 public:
  Script(const std::wstring& path, const std::vector<std::wstring>& arguments, DWORD flags)
      : output_(NewOutputFile()) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output_;
    startup.hStdError = output_;
    std::wstring command =
        (path.ends_with(L".exe") ? L"\"" : L"cscript.exe //nologo \"") + path + L"\"";
    for (const std::wstring& argument : arguments) command += L" \"" + argument + L"\"";
    started_ = brindlex::testing::StartProcess(command, /*inheritsHandles=*/true, flags, startup,
                                               process_);
  }
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;
  ~Script() {
    CloseHandle(output_);
    if (!started_) return;
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }

  bool Started() const { return started_; }
  HANDLE Process() const { return process_.hProcess; }
  DWORD ProcessId() const { return process_.dwProcessId; }
  bool Ended() const { return WaitForSingleObject(process_.hProcess, 5) == WAIT_OBJECT_0; }
  void Kill() const { TerminateProcess(process_.hProcess, 99); }

  DWORD ExitCode() const {
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

  /// What the script has written, once it has ended.
  std::vector<std::string> Output() const {
    std::string output(GetFileSize(output_, nullptr), '\0');
    DWORD count = 0;
    SetFilePointer(output_, 0, nullptr, FILE_BEGIN);
    ReadFile(output_, output.data(), static_cast<DWORD>(output.size()), &count, nullptr);
    output.resize(count);
    return LinesOf(output);
  }

 private:
  static HANDLE NewOutputFile() {
    wchar_t folder[MAX_PATH];
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"run", 0, path);
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    return CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inherited, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  }

  HANDLE output_;
  PROCESS_INFORMATION process_{};
  bool started_ = false;
};

bool Matches(const std::vector<std::string>& expected, const std::vector<std::string>& shown) {
  for (std::size_t index = 0; index < expected.size() || index < shown.size(); ++index) {
    const std::string want = index < expected.size() ? expected[index] : "(no box)";
    const std::string have = index < shown.size() ? shown[index] : "(no box)";
    if (want == have) continue;
    std::printf("box %u\n  expected: %s\n  shown:    %s\n", static_cast<unsigned>(index + 1),
                want.c_str(), have.c_str());
    return false;
  }
  return true;
}

/// Prints what the script wrote, and after each box that it expects the one that was closed.
std::vector<std::string> Expected(const std::vector<std::string>& lines, const Boxes& boxes) {
  const std::string prefix = "expects box: ";
  std::vector<std::string> expected;
  for (const std::string& line : lines) {
    std::printf("%s\n", line.c_str());
    if (line.rfind(prefix, 0) != 0) continue;
    if (expected.size() < boxes.closed.size()) {
      std::printf("closed box:  %s\n", boxes.closed[expected.size()].c_str());
    }
    expected.push_back(line.substr(prefix.size()));
  }
  return expected;
}

int Judge(DWORD code, const std::vector<std::string>& lines, const Boxes& boxes,
          const std::string& lastLine) {
  const std::vector<std::string> expected = Expected(lines, boxes);
  if (!Matches(expected, boxes.closed)) return 1;
  if (code != 0) std::printf("the script ended with code %lu\n", code);
  const bool passed = code == 0 && !lines.empty() && lines.back() == lastLine;
  if (!passed) std::printf("the script did not come to its last line\n");
  return passed ? 0 : 1;
}

/// Whether the debugger has done its part and found no fault; prints what it has found.
bool IsFaultless(const Debugger& debugger) {
  for (const std::string& finding : debugger.Findings()) std::printf("%s\n", finding.c_str());
  if (!debugger.HasSeenComponent()) std::printf("the component was not loaded\n");
  const bool hasRunTime = debugger.HasSeenRunTime();
  if (!hasRunTime) std::printf("the shared run time was not loaded before the component\n");
  const bool isStrict = debugger.WasEnvironmentSet();
  if (!isStrict) std::printf("the host's floating-point environment could not be set\n");
  return debugger.HasSeenComponent() && hasRunTime && isStrict && debugger.Findings().empty();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  const bool isDebugged = argc > 1 && std::wstring_view(argv[1]) == L"--debug";
  if (isDebugged) {
    --argc;
    ++argv;
  }
  if (argc < 2) {
    std::fprintf(stderr, "usage: run_host [--debug] SCRIPT_OR_EXE [LAST_LINE [ARGUMENT...]]\n");
    return 2;
  }
  const std::vector<std::wstring> arguments(argv + std::min(argc, 3), argv + argc);
  Script script(FullPath(argv[1]), arguments, isDebugged ? Debugger::kFlags : 0);
  if (!script.Started()) {
    std::fprintf(stderr, "cscript does not start: error %lu\n", GetLastError());
    return 2;
  }
  std::optional<Debugger> debugger;
  if (isDebugged) debugger.emplace(script.Process());
  Boxes boxes;
  boxes.process = script.ProcessId();
  const DWORD start = GetTickCount();
  while (debugger ? debugger->HandleEvents() : !script.Ended()) {
    EnumWindows(CloseBox, reinterpret_cast<LPARAM>(&boxes));
    if (GetTickCount() - start < kLongestRunMs) continue;
    std::printf("the script did not end\n");
    script.Kill();
  }
  WaitForSingleObject(script.Process(), INFINITE);
  const int status =
      Judge(script.ExitCode(), script.Output(), boxes, argc >= 3 ? Narrow(argv[2]) : "all passed");
  return debugger && !IsFaultless(*debugger) ? 1 : status;
}
