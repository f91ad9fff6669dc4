// The C++ library's own way to end the process prints the exception, for which it brings a decoder
// of names and all that formats text: a tenth of the DLL. A host of the component has nowhere to
// read that.

#include <cstdlib>

namespace __gnu_cxx {  // NOLINT(bugprone-reserved-identifier): the library's name
/// What std::terminate calls; the library's own definition is not linked then.
[[noreturn]] void __verbose_terminate_handler();                   // NOLINT
[[noreturn]] void __verbose_terminate_handler() { std::abort(); }  // NOLINT
}  // namespace __gnu_cxx
