#include "automation/runtime_error.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <stdexcept>
#include <utility>

namespace brindlex {
namespace {

constexpr TextView kOwnSource = u"Brindlex";

struct Wording {
  std::int32_t number;
  TextView description;
};

constexpr Wording kWordings[] = {
    {5, u"Invalid procedure call or argument"},
    {6, u"Overflow"},
    {7, u"Out of memory"},
    {9, u"Subscript out of range"},
    {10, u"This array is fixed or temporarily locked"},
    {11, u"Division by zero"},
    {13, u"Type mismatch"},
    {28, u"Out of stack space"},
    {48, u"Error in loading DLL"},
    {51, u"Internal error"},
    {52, u"Bad file name or number"},
    {53, u"File not found"},
    {55, u"File already open"},
    {57, u"Device I/O error"},
    {58, u"File already exists"},
    {61, u"Disk full"},
    {62, u"Input past end of file"},
    {67, u"Too many files"},
    {68, u"Device unavailable"},
    {70, u"Permission denied"},
    {71, u"Disk not ready"},
    {75, u"Path/File access error"},
    {76, u"Path not found"},
    {91, u"Object variable or With block variable not set"},
    {92, u"For loop not initialized"},
    {94, u"Invalid use of Null"},
    {380, u"Invalid property value"},
    {424, u"Object required"},
    {429, u"ActiveX component can't create object"},
    {430, u"Class does not support Automation or does not support expected interface"},
    {432, u"File name or class name not found during Automation operation"},
    {438, u"Object doesn't support this property or method"},
    {440, u"Automation error"},
    {445, u"Object doesn't support this action"},
    {446, u"Object doesn't support named arguments"},
    {447, u"Object doesn't support current locale setting"},
    {448, u"Named argument not found"},
    {449, u"Argument not optional"},
    {450, u"Wrong number of arguments or invalid property assignment"},
    {451, u"Object not a collection"},
    {457, u"This key is already associated with an element of this collection"},
    {458, u"Variable uses an Automation type not supported in Visual Basic"},
    {462, u"The remote server machine does not exist or is unavailable"},
};

}  // namespace

TextView StandardDescription(std::int32_t number) {
  const auto* found = std::find_if(std::begin(kWordings), std::end(kWordings),
                                   [number](const Wording& w) { return w.number == number; });
  if (found != std::end(kWordings)) return found->description;
  return number < 0 ? u"Automation error" : u"Application-defined or object-defined error";
}

RuntimeError::RuntimeError(std::int32_t number)
    : number(number), description(StandardDescription(number)), source(kOwnSource) {}

RuntimeError::RuntimeError(std::int32_t number, Text description, Text source)
    : number(number), description(std::move(description)), source(std::move(source)) {}

RuntimeError CaughtError() {
#if defined(_WIN32) && defined(__x86_64__)
  // Wine does not restore this register for a catch in a process that is debugged; callers that
  // hold the address of the stack's guard in it would fail. So the function saves it itself.
  asm volatile("" : : : "rbp");
#endif
  try {
    throw;
  } catch (RuntimeError& error) {
    return std::move(error);
  } catch (const std::bad_alloc&) {
    return RuntimeError(error_number::kOutOfMemory);
  } catch (const std::length_error&) {
    return RuntimeError(error_number::kOutOfMemory);
  } catch (...) {
    return RuntimeError(error_number::kInternal);
  }
}

}  // namespace brindlex
