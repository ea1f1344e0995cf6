#pragma once

#include "module/frame/handle.h"

namespace orn {

// A job object that ends every process in it when its last handle is closed, without further
// limits. Null on failure. `function` is the qualified name of the caller, under which failures are
// logged.
UniqueHandle CreateKillOnCloseJob(const wchar_t* function);

}  // namespace orn
