#include "bases/number.h"

namespace brindlex {
namespace {

template <class... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

}  // namespace

bool IsNumeric(const Number& number, const NumberText& reading) {
  return std::visit(Overloaded{[](const ConversionFailed&) { return false; },
                               [](const WrittenNumber& written) { return written.numeric; },
                               [&reading](TextView text) { return reading.IsNumeric(text); },
                               // Everything else is a number, emptiness and flags included.
                               [](auto) { return true; }},
                    number);
}

double ToDouble(const Number& number, const NumberText& reading) {
  return std::visit(
      Overloaded{[](std::monostate) -> double { return 0; },
                 [](bool flag) -> double { return flag ? -1 : 0; },
                 [](std::int32_t whole) -> double { return whole; },
                 [](double value) -> double { return value; },
                 [&reading](TextView text) -> double { return reading.ToDouble(text); },
                 [](const WrittenNumber& written) -> double { return written.value; },
                 [](const ConversionFailed& failed) -> double { throw failed.error; }},
      number);
}

Text ToText(const Number& number, const NumberText& reading) {
  return std::visit(
      Overloaded{[](std::monostate) -> Text { return {}; },
                 [](bool flag) -> Text { return flag ? u"True" : u"False"; },
                 [](std::int32_t whole) -> Text { return DecimalText(whole); },
                 [&reading](double value) -> Text { return reading.ToText(value); },
                 [](TextView text) -> Text { return Text(text); },
                 [](const WrittenNumber& written) -> Text { return Text(written.text); },
                 [](const ConversionFailed& failed) -> Text { throw failed.error; }},
      number);
}

bool BeginsWithZero(const Number& number, const NumberText& reading) {
  return std::visit(
      // Empty text and the words of a flag begin with no number.
      Overloaded{[](std::monostate) -> bool { return true; }, [](bool) -> bool { return true; },
                 [](std::int32_t whole) -> bool { return whole == 0; },
                 [&reading](double value) -> bool { return reading.BeginsWithZero(value); },
                 [&reading](TextView text) -> bool { return reading.LeadingNumber(text) == 0; },
                 [&reading](const WrittenNumber& written) -> bool {
                   return reading.LeadingNumber(written.text) == 0;
                 },
                 [](const ConversionFailed& failed) -> bool { throw failed.error; }},
      number);
}

}  // namespace brindlex
