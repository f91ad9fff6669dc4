#pragma once

// Read before everything else by the mutated core alone: the switch that says which mutant lives,
// and the operators that can be another one.

#include <cstddef>

namespace mutant {

inline constexpr std::size_t kMost = 1U << 14U;

/// The number of the mutant that lives; none at 0. Set before any object is initialized.
extern int alive;
/// Which mutants the program has come past.
extern unsigned char reached[kMost];

/// Whether the mutant `number` lives.
inline bool Is(int number) {
  reached[number] = 1;
  return alive == number;
}

/// The same in a function that the compiler may call too; for the compiler none lives.
constexpr bool IsAtRunTime(int number) { return !__builtin_is_constant_evaluated() && Is(number); }

/// Before an initializer: keeps it from the compiler.
inline void AtRunTime() {}

// Each operator of two operands as it is, or as another one when its flag is set. The numbers are
// taken by value, objects by reference.
#define MUTANT_COMPARISON(name, op, first, second)                       \
  template <class A, class B>                                            \
  constexpr bool name(bool is_first, bool is_second, A a, B b) {         \
    return is_first ? (a first b) : is_second ? (a second b) : (a op b); \
  }
MUTANT_COMPARISON(Less, <, <=, >=)
MUTANT_COMPARISON(LessOrEqual, <=, <, >)
MUTANT_COMPARISON(Greater, >, >=, <=)
MUTANT_COMPARISON(GreaterOrEqual, >=, >, <)
#undef MUTANT_COMPARISON

#define MUTANT_OPERATOR(name, op, other)         \
  template <class A, class B>                    \
  constexpr auto name(bool is_other, A a, B b) { \
    return is_other ? (a other b) : (a op b);    \
  }
MUTANT_OPERATOR(Plus, +, -)
MUTANT_OPERATOR(Minus, -, +)
MUTANT_OPERATOR(Times, *, /)
MUTANT_OPERATOR(Divide, /, *)
MUTANT_OPERATOR(Modulo, %, *)
MUTANT_OPERATOR(And, &, |)
MUTANT_OPERATOR(Or, |, &)
MUTANT_OPERATOR(Xor, ^, &)
MUTANT_OPERATOR(ShiftLeft, <<, >>)
MUTANT_OPERATOR(ShiftRight, >>, <<)
#undef MUTANT_OPERATOR

#define MUTANT_ASSIGNMENT(name, op, other)      \
  template <class A, class B>                   \
  constexpr A& name(bool is_other, A& a, B b) { \
    return is_other ? (a other b) : (a op b);   \
  }
MUTANT_ASSIGNMENT(PlusAssign, +=, -=)
MUTANT_ASSIGNMENT(MinusAssign, -=, +=)
MUTANT_ASSIGNMENT(TimesAssign, *=, /=)
MUTANT_ASSIGNMENT(DivideAssign, /=, *=)
MUTANT_ASSIGNMENT(ModuloAssign, %=, *=)
MUTANT_ASSIGNMENT(AndAssign, &=, |=)
MUTANT_ASSIGNMENT(OrAssign, |=, &=)
MUTANT_ASSIGNMENT(XorAssign, ^=, &=)
MUTANT_ASSIGNMENT(ShiftLeftAssign, <<=, >>=)
MUTANT_ASSIGNMENT(ShiftRightAssign, >>=, <<=)
#undef MUTANT_ASSIGNMENT

template <class A>
constexpr A& Increment(bool is_other, A& a) {
  return is_other ? --a : ++a;
}
template <class A>
constexpr A& Decrement(bool is_other, A& a) {
  return is_other ? ++a : --a;
}
template <class A>
constexpr auto Negative(bool is_other, A a) {
  return is_other ? +a : -a;
}
template <class A>
constexpr auto Complement(bool is_other, A a) {
  return is_other ? +a : ~a;
}

}  // namespace mutant
