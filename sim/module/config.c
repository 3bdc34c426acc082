/* Configuration parameters, for all families alike. */
#include <string.h>

#include "module.h"

static const struct sim_family* const families[] = {
    &sim_boot_family, &sim_lan_family, &sim_serial_family, &sim_sol_family, &sim_sysinfo_family,
};

enum progress { kComplete, kBegun, kCommit };

const struct sim_parameter* sim_parameter(const struct sim_family* family, unsigned int selector) {
  for (size_t i = 0; i < family->count; i++) {
    if (family->parameters[i].selector == selector) return &family->parameters[i];
  }
  return NULL;
}

static unsigned char* value_of(const struct sim_family* family, const struct sim_parameter* parameter,
                               unsigned int set) {
  return (unsigned char*)family->values + parameter->offset + (size_t)set * parameter->length;
}

/* There is nothing to roll back, so that a commit changes nothing. */
static int set_progress(unsigned char* progress, unsigned int wanted) {
  if (wanted > kCommit) return kCcInvalidField;
  if (wanted == kBegun && *progress == kBegun) return kCcSetInProgress;
  if (wanted != kCommit) *progress = (unsigned char)wanted;
  return kCcOk;
}

int sim_set_parameter(const struct sim_family* family, unsigned int selector, const unsigned char* data,
                      unsigned int length) {
  const struct sim_parameter* parameter = sim_parameter(family, selector);
  unsigned int set = 0;
  if (parameter == NULL) return kCcParameterUnsupported;
  if (parameter->kind == kReadOnly) return kCcReadOnly;
  if (length == 0) return kCcRequestLengthInvalid;
  if (parameter->sets != 0) {
    set = data[0];
    data++;
    length--;
  }
  const int any_length = parameter->kind == kPartial || parameter->kind == kCounted;
  if (length == 0 || length > parameter->length || (!any_length && length < parameter->length)) {
    return kCcRequestLengthInvalid;
  }
  if (parameter->kind == kCounted && data[0] != length - 1) return kCcRequestLengthInvalid;
  if (parameter->sets != 0 && set >= parameter->sets) return kCcInvalidField;

  unsigned char* value = value_of(family, parameter, set);
  switch (parameter->kind) {
    case kProgress:
      return set_progress(value, data[0]);
    case kMasked:
      value[1] = (unsigned char)((value[1] & ~data[0]) | (data[1] & data[0]));
      return kCcOk;
    default:
      memcpy(value, data, length);
      return kCcOk;
  }
}

int sim_read_parameter(const struct sim_family* family, unsigned int selector, unsigned int set,
                       struct sim_reply* reply) {
  const struct sim_parameter* parameter = sim_parameter(family, selector);
  if (parameter == NULL) return kCcParameterUnsupported;
  if (parameter->sets != 0 && set >= parameter->sets) return kCcInvalidField;
  const unsigned char number = (unsigned char)set;
  const unsigned char* value = value_of(family, parameter, parameter->sets != 0 ? set : 0);
  if (parameter->sets != 0) sim_put(reply, &number, 1);
  sim_put(reply, value, parameter->kind == kCounted ? 1u + value[0] : parameter->length);
  return kCcOk;
}

int sim_get_parameter(const struct sim_family* family, const unsigned char* get, struct sim_reply* reply) {
  const unsigned char revision = kParameterRevision;
  if (sim_parameter(family, get[1]) == NULL) return kCcParameterUnsupported;
  sim_put(reply, &revision, 1);
  return (get[0] & kRevisionOnly) != 0 ? kCcOk : sim_read_parameter(family, get[1], get[2], reply);
}

void sim_reset_parameters(int lan_too) {
  for (size_t i = 0; i < COUNT_OF(families); i++) {
    if (families[i] == &sim_lan_family && !lan_too) continue;
    memcpy(families[i]->values, families[i]->initial, families[i]->size);
  }
}
