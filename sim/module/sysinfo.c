/* System info parameters (NetFn App; IPMI v2.0 rev 1.1, 22.14a and 22.14b). */
#include "module.h"

/* A string has 255 bytes at most. Its first block begins with the encoding (0: Latin 1) and its length. */
enum { kBlockSize = 16, kBlocks = (2 + 255 + kBlockSize - 1) / kBlockSize };

/* A tag has a length byte and as many bytes as an answer has room for. */
enum { kTagSize = 1 + 32 };

typedef char block[kBlockSize]; /* without a zero at its end */

struct sysinfo {
  unsigned char progress;
  block firmware_version[kBlocks];
  block system_name[kBlocks];
  block primary_os_name[kBlocks];
  block os_name[kBlocks];
  block os_version[kBlocks];
  block bmc_url[kBlocks];
  block manageability_url[kBlocks];
  block system_info[kBlocks];
  char asset_tag[kTagSize];
  char unit_tag[kTagSize];
  unsigned char oem_info;
  unsigned char nic_capabilities[3];
  unsigned char local_video[4];
};

static const struct sysinfo initial = {
    .firmware_version = {"\0\020RB100-BIOS 1.4", ".2"},
    .system_name = {"\0\011refserver"},
    .primary_os_name = {"\0\023Debian GNU/Lin", "ux 12"},
    .os_name = {"\0\036Debian GNU/Lin", "ux 12 (bookworm)"},
    .os_version = {"\0\0166.1.0-28-arm64"},
    .bmc_url = {"\0\027https://refbmc", ".example/"},
    .manageability_url = {"\0\032https://refser", "ver.example/"},
    .system_info = {"\0\014RB-100 rev C"},
    .asset_tag = "\012ASSET-7781",
    .unit_tag = "\007UT-0042",
    .oem_info = 0x01,
    .nic_capabilities = {0x00, 0x03, 0x00},  /* the second one: two ports */
    .local_video = {0x80, 0x00, 0x00, 0x0F}, /* on; 01 00 00 00 is off */
};
static struct sysinfo now;

#define STRING(selector, member) \
  { selector, kBlocks, kBlockSize, kPlain, offsetof(struct sysinfo, member) }

static const struct sim_parameter parameters[] = {
    {0, 0, 1, kProgress, offsetof(struct sysinfo, progress)},
    STRING(1, firmware_version),
    STRING(2, system_name),
    STRING(3, primary_os_name),
    STRING(4, os_name),
    STRING(5, os_version),
    STRING(6, bmc_url),
    STRING(7, manageability_url),
    {0xC4, 0, kTagSize, kCounted, offsetof(struct sysinfo, asset_tag)},
    {0xC5, 0, kTagSize, kCounted, offsetof(struct sysinfo, unit_tag)},
    {0xCA, 0, 1, kPlain, offsetof(struct sysinfo, oem_info)},
    {0xCE, 0, 3, kReadOnly, offsetof(struct sysinfo, nic_capabilities)},
    STRING(0xD1, system_info),
    {0xD6, 0, 4, kPlain, offsetof(struct sysinfo, local_video)},
};

const struct sim_family sim_sysinfo_family = {parameters, COUNT_OF(parameters), &initial, &now, sizeof now};

static int set_system_info(const struct sim_request* request, struct sim_reply* reply) {
  (void)reply;
  return sim_set_parameter(&sim_sysinfo_family, request->data[0], request->data + 1, request->length - 1);
}

static int get_system_info(const struct sim_request* request, struct sim_reply* reply) {
  return sim_get_parameter(&sim_sysinfo_family, request->data, reply);
}

const struct sim_command sim_sysinfo_commands[] = {
    {kNetFnApp, 0x58, 1, 255, set_system_info},
    {kNetFnApp, 0x59, 4, 4, get_system_info},
    {0, 0, 0, 0, NULL},
};
