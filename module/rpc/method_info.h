#pragma once

#include "module/platform/process_info_db.h"
#include "module/rpc/parameter_list.h"

namespace messaging::rpc {

// One call as the server runs it. What it points to lives as long as the call.
struct method_info {
  const ParameterList* input = nullptr;
  ParameterList* output = nullptr;
  bool impersonated = false;
  // On whose behalf the call is made: the client's process, or the one that a believed claim names.
  const process_info* caller = nullptr;
};

}  // namespace messaging::rpc
