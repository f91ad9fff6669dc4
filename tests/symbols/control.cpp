// Refers to what the core must not refer to.

#include <cmath>

double LogarithmAndPower(double x, double y) { return std::log(x) + std::pow(x, y); }
