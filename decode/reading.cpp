#include "decode/reading.hpp"

#include <cmath>

#include "core/status.hpp"
#include "lumipmi/reading.h"

namespace lumi {
namespace {

// What pow() gives, to the last bit, without its time for the exponents that four bits hold.
double power_of_ten(int8_t exponent) {
  static constexpr double kPowers[] = {1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1,
                                       1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7};
  return exponent >= -8 && exponent <= 7 ? kPowers[exponent + 8] : std::pow(10.0, exponent);
}

// The twelve linearizations share this part. One fused multiply-add, not a multiplication and an addition: the last
// bit of the result differs.
double linear(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  const double product = m * x;
  const double offset = b;
  return std::fma(offset, power_of_ten(b_exponent), product) * power_of_ten(result_exponent);
}

double natural_log(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::log(linear(m, b, result_exponent, b_exponent, x));
}

double decimal_log(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::log10(linear(m, b, result_exponent, b_exponent, x));
}

double binary_log(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::log(linear(m, b, result_exponent, b_exponent, x)) / 0.6931471805599453;
}

double e_power(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::exp(linear(m, b, result_exponent, b_exponent, x));
}

double ten_power(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::pow(10.0, linear(m, b, result_exponent, b_exponent, x));
}

double two_power(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::pow(2.0, linear(m, b, result_exponent, b_exponent, x));
}

double reciprocal(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return 1.0 / linear(m, b, result_exponent, b_exponent, x);
}

double square(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  const double v = linear(m, b, result_exponent, b_exponent, x);
  return v * v;
}

double cube(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::pow(linear(m, b, result_exponent, b_exponent, x), 3.0);
}

double square_root(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::sqrt(linear(m, b, result_exponent, b_exponent, x));
}

// pow() and not cbrt(), as part of the interface: a negative value gives NaN.
double cube_root(int16_t m, int16_t b, int8_t result_exponent, int8_t b_exponent, int16_t x) {
  return std::pow(linear(m, b, result_exponent, b_exponent, x), 1.0 / 3.0);
}

}  // namespace

}  // namespace lumi

using namespace lumi;

extern "C" const IpmiLinearization CalculateFormula[12] = {
    linear,    natural_log, decimal_log, binary_log, e_power,     ten_power,
    two_power, reciprocal,  square,      cube,       square_root, cube_root,
};

extern "C" int32_t ipmi_hlp_get_signed_data(int32_t format, uint32_t value, uint8_t bits) {
  return signed_data(format, value, bits);
}

extern "C" uint32_t ipmi_hlp_calculate_reading_value(uint32_t format, uint8_t linearization, int16_t m, int16_t b,
                                                     int8_t resultExponent, int8_t bExponent, uint16_t raw,
                                                     double* value) {
  if (value == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const auto x = static_cast<int16_t>(signed_data(static_cast<int32_t>(format), raw, 8));
  if (linearization >= sizeof CalculateFormula / sizeof CalculateFormula[0]) return IPMI_STATUS_APP_INVALID_FORMAT;
  *value = CalculateFormula[linearization](m, b, resultExponent, bExponent, x);
  return kOk;
}
