/** @file lumipmi.h
 *  The whole library. The driver binding has its own header, driver.h. */
#ifndef LUMIPMI_LUMIPMI_H
#define LUMIPMI_LUMIPMI_H

#include "lumipmi/compat.h"
#include "lumipmi/connection.h"
#include "lumipmi/device.h"
#include "lumipmi/fru.h"
#include "lumipmi/fru_inventory.h"
#include "lumipmi/profile.h"
#include "lumipmi/reading.h"
#include "lumipmi/sdr.h"
#include "lumipmi/sdr_repository.h"
#include "lumipmi/sel.h"
#include "lumipmi/sensor.h"
#include "lumipmi/status.h"
#include "lumipmi/trace.h"
#include "lumipmi/utility.h"

#endif
