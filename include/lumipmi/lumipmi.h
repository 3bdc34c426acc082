/** @file lumipmi.h
 *  The whole library. The driver binding has its own header, driver.h. */
#ifndef LUMIPMI_LUMIPMI_H
#define LUMIPMI_LUMIPMI_H

#include "lumipmi/boot.h"
#include "lumipmi/channel.h"
#include "lumipmi/chassis.h"
#include "lumipmi/compat.h"
#include "lumipmi/connection.h"
#include "lumipmi/device.h"
#include "lumipmi/fru.h"
#include "lumipmi/fru_inventory.h"
#include "lumipmi/lan.h"
#include "lumipmi/payload.h"
#include "lumipmi/pef.h"
#include "lumipmi/profile.h"
#include "lumipmi/reading.h"
#include "lumipmi/sdr.h"
#include "lumipmi/sdr_repository.h"
#include "lumipmi/sel.h"
#include "lumipmi/sensor.h"
#include "lumipmi/serial.h"
#include "lumipmi/sol.h"
#include "lumipmi/status.h"
#include "lumipmi/system_info.h"
#include "lumipmi/trace.h"
#include "lumipmi/user.h"
#include "lumipmi/utility.h"
#include "lumipmi/watchdog.h"

#endif
