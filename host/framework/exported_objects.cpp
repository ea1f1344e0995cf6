// The object that framework.dll exports.

#include "host/framework/event_queue.h"
#include "module/frame/object_declaration.h"

namespace {

const ExportedObjectDeclaration<host::EventQueue> event_queue{kGlobalEventQueue};

}  // namespace
