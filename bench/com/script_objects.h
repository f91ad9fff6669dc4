#pragma once

#include <activscp.h>
#include <oaidl.h>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"

namespace brindlex::bench {

/// A script engine of the system's, on this thread, and what its program offers. The engine is
/// closed when this ends; objects of the script must be let go of before.
class ScriptEngine {
 public:
  /// Runs `program` in the engine with the program id `language`. Ends this program, with the
  /// cause, when it cannot.
  ScriptEngine(const wchar_t* language, const char16_t* program);
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;
  ~ScriptEngine();

  /// The object that the script's function `name` yields for one number.
  ComPtr<IDispatch> Call(const wchar_t* name, long number) const;

 private:
  ComPtr<IActiveScript> engine_;
  ComPtr<IDispatch> globals_;
};

}  // namespace brindlex::bench
