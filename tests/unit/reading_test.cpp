#include "lumipmi/reading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "lumipmi/status.h"

namespace {

// The value of a field by its definition; x < 2^width.
int32_t widened(int32_t format, int32_t x, int width) {
  const int32_t half = 1 << (width - 1);
  if (x < half) return x;
  if (format == 1) return x - (2 * half - 1);
  if (format == 2) return x - 2 * half;
  return x;
}

TEST(Widening, EveryValueOfEveryFormatAndWidth) {
  for (int32_t format = 0; format <= 3; ++format)
    for (int width = 1; width <= 12; ++width)
      for (int32_t x = 0; x < 1 << width; ++x)
        ASSERT_EQ(ipmi_hlp_get_signed_data(format, static_cast<uint32_t>(x), static_cast<uint8_t>(width)),
                  widened(format, x, width))
            << "format " << format << ", value " << x << ", " << width << " bits";
}

struct WideningCase {
  const char* what;
  int32_t format;
  uint32_t value;
  uint8_t bits;
  int32_t expected;
};

TEST(Widening, EdgesOfWidthAndBitsAboveIt) {
  const WideningCase cases[] = {
      {"unsigned cuts", 0, 0xFFFFFF5A, 7, 0x5A},
      {"unsigned, no bits", 0, 0xFFFFFFFF, 0, 0},
      {"unsigned, 31 bits", 0, 0xFFFFFFFF, 31, 0x7FFFFFFF},
      {"unsigned, 32 bits", 0, 0x80000001, 32, INT32_MIN + 1},
      {"unsigned, more than 32 bits", 0, 0x12345678, 200, 0x12345678},
      {"one's complement, positive keeps what is above", 1, 0xABCD0D7F, 8, static_cast<int32_t>(0xABCD0D7F)},
      {"one's complement, negative cuts", 1, 0xABCD00FE, 8, -1},
      {"one's complement, one bit", 1, 0xFFFFFFFF, 1, 0},
      {"one's complement, no bits", 1, 0x00000003, 0, 0},
      {"one's complement, no bits, bit 0 clear", 1, 0x00000006, 0, 6},
      {"one's complement, 32 bits", 1, 0x80000000, 32, -0x7FFFFFFF},
      {"one's complement, more than 32 bits", 1, 0x80000000, 33, INT32_MIN},
      {"two's complement, positive keeps what is above", 2, 0x0000047F, 8, 0x47F},
      {"two's complement, negative replaces what is above", 2, 0x00000480, 8, -128},
      {"two's complement, one bit", 2, 0x00000001, 1, -1},
      {"two's complement, 32 bits", 2, 0x80000000, 32, INT32_MIN},
      {"two's complement, more than 32 bits", 2, 0x00000080, 255, 0x80},
      {"no analog reading", 3, 0xFFFFFF80, 8, -128},
      {"no analog reading keeps what is above", 3, 0x00000480, 8, 0x480},
      {"unknown format", -1, 0x000000FF, 8, 0xFF},
  };
  for (const WideningCase& c : cases)
    EXPECT_EQ(ipmi_hlp_get_signed_data(c.format, c.value, c.bits), c.expected) << c.what;
}

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

struct Conversion {
  const char* what;
  uint32_t format;
  uint8_t linearization;
  int16_t m, b;
  int8_t result_exponent, b_exponent;
  uint16_t raw;
  double expected;
};

void check(const Conversion& c) {
  SCOPED_TRACE(c.what);
  double value = 0;
  ASSERT_EQ(ipmi_hlp_calculate_reading_value(c.format, c.linearization, c.m, c.b, c.result_exponent, c.b_exponent,
                                             c.raw, &value),
            0u);
  if (std::isnan(c.expected))
    EXPECT_TRUE(std::isnan(value)) << value;
  else
    EXPECT_DOUBLE_EQ(value, c.expected);
}

TEST(Conversion, LinearPart) {
  const Conversion cases[] = {
      {"two's complement", 2, 0, 1, 0, 0, 0, 0xFF, -1.0},
      {"unsigned, the result exponent comes first", 0, 0, 2, 5, -1, 1, 0xFF, 56.0},
      {"one's complement", 1, 0, 1, 0, 0, 0, 0x80, -127.0},
      {"one's complement, minus zero", 1, 0, 3, 7, 0, 0, 0xFF, 7.0},
      {"no analog reading is taken as it is", 3, 0, 1, 0, 0, 0, 0xFF, 255.0},
      {"negative M and B", 0, 0, -3, -511, 0, 0, 10, -541.0},
      {"voltage", 0, 0, 622, 0, -4, 0, 0xC0, 11.9424},
      {"smallest exponents", 0, 0, 1, 1, -8, -8, 0, 1e-16},
      {"greatest exponents", 0, 0, 511, 511, 7, 7, 255, (130305 + 5110000000.0) * 10000000.0},
      {"the product is wider than 16 bits", 0, 0, 32767, 0, 0, 0, 255, 8355585.0},
      {"a raw value of more than 8 bits is cut when unsigned", 0, 0, 1, 0, 0, 0, 0x01FE, 254.0},
      {"and kept when positive", 2, 0, 1, 0, 0, 0, 0x017E, 382.0},
      {"as 16 bits with a sign", 3, 0, 1, 0, 0, 0, 0xFFFE, -2.0},
  };
  for (const Conversion& c : cases) check(c);
}

// A multiplication rounded on its own gives another last digit: ...666p+6 and ...334p+6.
TEST(Conversion, MultipliesAndAddsInOneStep) {
  EXPECT_EQ(CalculateFormula[0](-5, -511, 0, -1, 9), -0x1.8066666666667p+6);
  EXPECT_EQ(CalculateFormula[0](-5, -508, 0, -1, 9), -0x1.7f33333333333p+6);
}

TEST(Conversion, PowersOfTenAreThoseOfPow) {
  for (int exponent = INT8_MIN; exponent <= INT8_MAX; ++exponent) {
    volatile double ten = 10;  // not known to the compiler, so that the C library computes it
    const double power = std::pow(ten, exponent);
    EXPECT_EQ(CalculateFormula[0](1, 0, static_cast<int8_t>(exponent), 0, 1), power) << exponent;
    EXPECT_EQ(CalculateFormula[0](0, 1, 0, static_cast<int8_t>(exponent), 1), power) << exponent;
  }
}

TEST(Conversion, Linearizations) {
  const Conversion cases[] = {
      {"linear 2.5", 0, 0, 1, 0, -1, 0, 25, 2.5},
      {"ln 2.5", 0, 1, 1, 0, -1, 0, 25, 0.91629073187415506518},
      {"ln 1", 0, 1, 1, 0, 0, 0, 1, 0.0},
      {"ln 0", 0, 1, 1, 0, 0, 0, 0, -kInf},
      {"ln -1", 2, 1, 1, 0, 0, 0, 0xFF, kNan},
      {"log10 2.5", 0, 2, 1, 0, -1, 0, 25, 0.39794000867203760957},
      {"log10 1000", 0, 2, 100, 0, 0, 0, 10, 3.0},
      {"log10 0", 0, 2, 1, 0, 0, 0, 0, -kInf},
      {"log10 -1", 2, 2, 1, 0, 0, 0, 0xFF, kNan},
      {"log2 2.5", 0, 3, 1, 0, -1, 0, 25, 1.3219280948873623479},
      {"log2 8", 0, 3, 1, 0, 0, 0, 8, 3.0},
      {"log2 -1", 2, 3, 1, 0, 0, 0, 0xFF, kNan},
      {"e^2.5", 0, 4, 1, 0, -1, 0, 25, 12.182493960703473438},
      {"e^-2.5", 2, 4, 1, 0, -1, 0, 0xE7, 0.082084998623898795169},
      {"10^2.5", 0, 5, 1, 0, -1, 0, 25, 316.22776601683793320},
      {"10^-3", 2, 5, 1, 0, 0, 0, 0xFD, 0.001},
      {"10^400", 0, 5, 2, 0, 0, 0, 200, kInf},
      {"2^2.5", 0, 6, 1, 0, -1, 0, 25, 5.6568542494923801952},
      {"2^-2", 2, 6, 1, 0, 0, 0, 0xFE, 0.25},
      {"1/2.5", 0, 7, 1, 0, -1, 0, 25, 0.4},
      {"1/0", 0, 7, 1, 0, 0, 0, 0, kInf},
      {"2.5^2", 0, 8, 1, 0, -1, 0, 25, 6.25},
      {"(-3)^2", 2, 8, 1, 0, 0, 0, 0xFD, 9.0},
      {"2.5^3", 0, 9, 1, 0, -1, 0, 25, 15.625},
      {"(-3)^3", 2, 9, 1, 0, 0, 0, 0xFD, -27.0},
      {"sqrt 2.5", 0, 10, 1, 0, -1, 0, 25, 1.5811388300841896660},
      {"sqrt -1", 2, 10, 1, 0, 0, 0, 0xFF, kNan},
      {"cube root 2.5", 0, 11, 1, 0, -1, 0, 25, 1.3572088082974532858},
      {"cube root -8 is not -2", 2, 11, 1, 0, 0, 0, 0xF8, kNan},
  };
  for (const Conversion& c : cases) check(c);
}

TEST(Conversion, EveryTableEntryTakesAllItsArguments) {
  for (int i = 0; i < 12; ++i) {
    double value = 0;
    ASSERT_EQ(ipmi_hlp_calculate_reading_value(2, static_cast<uint8_t>(i), -7, 411, -2, 1, 0xF0, &value), 0u);
    EXPECT_EQ(value, CalculateFormula[i](-7, 411, -2, 1, -16)) << "linearization " << i;  // v = 42.22
    EXPECT_TRUE(std::isfinite(value));
  }
}

TEST(Conversion, Refusals) {
  double value = 1.5;
  for (int code = 12; code <= 255; ++code)
    EXPECT_EQ(ipmi_hlp_calculate_reading_value(0, static_cast<uint8_t>(code), 1, 0, 0, 0, 1, &value),
              IPMI_STATUS_APP_INVALID_FORMAT)
        << code;
  EXPECT_EQ(value, 1.5);
  EXPECT_EQ(ipmi_hlp_calculate_reading_value(0, 12, 1, 0, 0, 0, 1, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
}

}  // namespace
