/* Watches one threshold sensor of the BMC and says when its reading crosses a threshold.
 *
 *     cc sensor_watch.c $(pkg-config --cflags --libs lumipmi) -o sensor_watch && ./sensor_watch 1 [readings] [seconds]
 *
 * Prints a line for each reading. The exit status tells how the last reading was: 0 within the thresholds, 2 beyond
 * one, 1 no reading.
 */
#include <lumipmi/lumipmi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static uint32_t failed(const char *what, uint32_t status) {
  fprintf(stderr, "%s: status 0x%08X: %s\n", what, (unsigned)status, get_ipmi_err_msg_string((int32_t)status));
  return status;
}

/* Looks the sensor's record up in the SDR repository: it tells name and unit, and how to convert readings. */
static uint32_t find_sensor(IpmiHandle *handle, uint8_t number, IpmiSdrFullSensor *sensor) {
  uint16_t reservation, id = 0, next;
  uint32_t status = ipmi_storage_reserve_sdr_repository(handle, &reservation);
  if (status != 0) return status;
  for (; id != 0xFFFF; id = next) {
    uint8_t raw[255];
    uint16_t size = sizeof raw;
    IpmiSdrInfo info;
    status = ipmi_get_sdr_record(handle, &reservation, id, &next, &size, raw);
    if (status != 0) return status;
    if (ipmi_hlp_format_sdr_record(size, raw, &info) != 0 || info.record_type != IPMI_SDR_FULL_SENSOR) continue;
    if (info.body.full.sensor_number == number && info.body.full.owner_id == 0x20 && info.body.full.owner_lun == 0) {
      *sensor = info.body.full;
      return 0;
    }
  }
  return IPMI_STATUS_APP_NOT_FOUND;
}

static double value_of(const IpmiSdrFullSensor *sensor, uint8_t raw) {
  double value = 0;
  (void)ipmi_hlp_calculate_reading_value(sensor->analog_data_format, sensor->linearization, sensor->m, sensor->b,
                                         sensor->result_exponent, sensor->b_exponent, raw, &value);
  return value;
}

/* The states of a reading: bit n is set when the threshold n of this list is crossed. */
static const char *const kStates[6] = {"below lower non-critical",    "below lower critical",
                                       "below lower non-recoverable", "above upper non-critical",
                                       "above upper critical",        "above upper non-recoverable"};

int main(int argc, char **argv) {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle *handle;
  IpmiSdrFullSensor sensor;
  IPMISensorThresholds thresholds;
  char name[64];
  uint32_t status, reading = 0;
  int readings = argc > 2 ? atoi(argv[2]) : 1, pause = argc > 3 ? atoi(argv[3]) : 1, i;
  uint8_t number;

  if (argc < 2) {
    fprintf(stderr, "usage: sensor_watch SENSOR_NUMBER [READINGS] [SECONDS]\n");
    return 1;
  }
  number = (uint8_t)strtoul(argv[1], NULL, 0);
  status = ipmi_connect(&params, &handle);
  if (status != 0) return failed("connection", status), 1;
  status = find_sensor(handle, number, &sensor);
  ipmi_disconnect(handle); /* the calls below connect by themselves */
  if (status != 0) return failed("sensor", status), 1;
  if (ipmi_hlp_decode_type_length(sensor.id_string_type, sensor.id_string_length, sensor.id_string, 0, sizeof name,
                                  name) != 0)
    snprintf(name, sizeof name, "sensor %u", number);

  status = IPMIGetSensorThreshold(number, &thresholds);
  if (status == 0) {
    printf("%s:", name);
    for (i = 0; i < 6; i++)
      if ((thresholds.bytes[IPMI_THRESHOLD_MASK] >> i & 1) != 0)
        printf(" %s %g;", strchr(kStates[i], ' ') + 1, value_of(&sensor, thresholds.bytes[1 + i]));
    printf("\n");
  }
  for (i = 0; i < readings; i++) {
    char states[256];
    uint8_t crossed;
    if (i > 0) sleep((unsigned)pause);
    status = IPMIGetSensorReading(number, &reading);
    if (status != 0) return failed("reading", status), 1;
    crossed = (uint8_t)(reading >> 16 & 0x3F);
    (void)ipmi_hlp_gen_every_msg_by_bits(NULL, &crossed, 1, 6, kStates, 0, "ok", ", ", states, sizeof states);
    printf("%g %s\n", value_of(&sensor, (uint8_t)(reading & 0xFF)), states);
    fflush(stdout);
  }
  return (reading >> 16 & 0x3F) != 0 ? 2 : 0;
}
