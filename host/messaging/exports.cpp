// The object that messaging_tsr.dll exports.

#include "host/messaging/gateway_factory.h"
#include "module/frame/object_declaration.h"

namespace {

ExportedObjectDeclaration<host::GatewayFactory> factory{messaging::kChannelGateway};

}  // namespace
