/** @file reading.h
 *  Conversion of raw readings: y = L[(M * x + B * 10^K1) * 10^K2] (IPMI v2.0 rev 1.1, 36.3). */
#ifndef LUMIPMI_READING_H
#define LUMIPMI_READING_H

#include <stdint.h>

#include "lumipmi/export.h"

/** One linearization: the value of the widened reading x. */
typedef double (*IpmiLinearization)(int16_t m, int16_t b, int8_t resultExponent, int8_t bExponent, int16_t x);

LUMI_BEGIN_DECLS

/**
 * The linearizations L, by the code of a full sensor record: linear, ln, log10, log2, e^v, 10^v, 2^v, 1/v, v^2, v^3,
 * square root, cube root. Each computes v = (M * x + B * 10^bExponent) * 10^resultExponent first, the product in
 * integers, the sum in one fused multiply-add. Nothing is rounded and nothing is tested: the logarithm of 0, the
 * square root of a negative value and the like give infinities and NaN, and so does the cube root of a negative value.
 */
extern LUMI_API const IpmiLinearization CalculateFormula[12];

/**
 * Widens a raw field by an analog data format.
 * @param[in] format  0 unsigned, 1 one's complement, 2 two's complement; anything else leaves the value as it is.
 * @param[in] value   The field in its low bits.
 * @param[in] bits    Width of the field; the sign bit is bits - 1, or bit 0 of a field of 0 bits. A field of more than
 *                    32 bits has no sign.
 * @returns The value. Unsigned: the low bits of the field. A negative one's or two's complement number: its value, so
 *          that the one's complement 0xFF of 8 bits is 0. A positive one: value unchanged, with all that stands above
 *          the field.
 */
LUMI_API int32_t ipmi_hlp_get_signed_data(int32_t format, uint32_t value, uint8_t bits);

/**
 * Converts a raw reading into a value in the unit of its sensor (IPMI v2.0 rev 1.1, 36.3).
 * @param[in]  format          Analog data format of the sensor.
 * @param[in]  linearization   0 to 11, see CalculateFormula.
 * @param[in]  m               M
 * @param[in]  b               B
 * @param[in]  resultExponent  K2; it comes before K1, other than in a record.
 * @param[in]  bExponent       K1
 * @param[in]  raw             Reading; widened as an 8-bit field, 16 bits of the result are used.
 * @param[out] value           Written on success only.
 * @returns
 * - 0: *value is the value, as computed.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: value is null.
 * - IPMI_STATUS_APP_INVALID_FORMAT: linearization is above 11. 0x70 to 0x7F are the codes of non-linear sensors: read
 *   the factors of the reading with ipmi_se_get_sensor_reading_factors() and convert it with linearization 0.
 */
LUMI_API uint32_t ipmi_hlp_calculate_reading_value(uint32_t format, uint8_t linearization, int16_t m, int16_t b,
                                                   int8_t resultExponent, int8_t bExponent, uint16_t raw,
                                                   double *value);

LUMI_END_DECLS

#endif
