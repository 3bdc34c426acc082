// The life of a handle, and the entry points around it.
#include "lumipmi/connection.h"

#include <pthread.h>

#include <cstdlib>
#include <cstring>

#include "core/exchange.hpp"
#include "core/handle.hpp"

using namespace lumi;

extern "C" uint32_t ipmi_init_devicelib(void) {
  return kOk;
}
extern "C" uint32_t ipmi_cleanup_devicelib(void) {
  return kOk;
}
extern "C" uint32_t IPMIInitializeLibrary(void) {
  return ipmi_init_devicelib();
}
extern "C" uint32_t IPMICleanupLibrary(void) {
  return ipmi_cleanup_devicelib();
}

extern "C" uint32_t ipmi_connect(const IpmiConnectParams* params, IpmiHandle** out) {
  if (params == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  *out = nullptr;
  void* block = std::malloc(sizeof(IpmiHandle) + kWorkAreaSize + sizeof(pthread_mutex_t));
  if (block == nullptr) return IPMI_STATUS_APP_NOT_ENOUGH_MEMORY;
  IpmiHandle* handle = static_cast<IpmiHandle*>(block);
  handle->params = *params;
  handle->bmcAddress = kBmcAddress;
  handle->ipmiVersionLevel = kIpmi20;
  handle->workArea = static_cast<uint8_t*>(block) + sizeof(IpmiHandle);
  std::memset(handle->workArea, 0, kSolVersionOffset + sizeof(uint32_t));
  (void)pthread_mutex_init(request_lock(*handle), nullptr);  // cannot fail for a default mutex
  *out = handle;
  return kOk;
}

extern "C" uint32_t ipmi_disconnect(IpmiHandle* handle) {
  (void)pthread_mutex_destroy(request_lock(*handle));  // fails only while a request is under way, the caller's error
  std::free(handle);
  return kOk;
}

extern "C" uint32_t ipmi_send_request(const IpmiRequest* request, IpmiResponse* response, IpmiHandle* handle) {
  return send_request(*request, *response, *handle);
}

extern "C" uint32_t IPMISendRawIPMICommand(const IpmiRawCommand* command, IpmiRawResponse* response) {
  if (command == nullptr || command->dataLength > 250) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle;
  LUMI_TRY(ipmi_connect(&params, &handle));
  const IpmiRequest request = {static_cast<uint32_t>(Privilege::Administrator),
                               0,
                               command->rsAddr,
                               command->rsLun,
                               command->netFn,
                               command->cmd,
                               command->dataLength,
                               command->data};
  IpmiResponse answer = {0, response->dataLength, response->data};
  const Status status = send_request(request, answer, *handle);
  response->completionCode = answer.completionCode;
  response->dataLength = static_cast<uint8_t>(answer.dataLength);
  (void)ipmi_disconnect(handle);  // always 0
  return status;
}
