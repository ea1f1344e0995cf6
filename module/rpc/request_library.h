#pragma once

#include "module/platform/request_tree.h"

namespace messaging::rpc {

// The entry points of the "libreq.dll" that lies beside this module, bound at the first call and
// for good. Null where the library or one of them is missing. Any thread.
const RequestTable* RequestLibrary();

}  // namespace messaging::rpc
