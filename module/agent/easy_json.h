#pragma once

#include <json/value.h>

#include "module/platform/endpoint_integration.h"

namespace EnterpriseIntegration {

// What the handler of a policy method works with. Owns nothing.
struct EasyJson {
  Json::Value* input;   // may be null
  Json::Value* output;  // may be null
  IPolicyMethodCall* call;
};

}  // namespace EnterpriseIntegration
