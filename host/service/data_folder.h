#pragma once

#include <cstdint>

#include "host/service/configuration.h"

namespace host {

// Makes the data folder of `configuration`, where there is none, open to administrators alone. The
// system's own services are administrators by their group, so they have access; a low process of
// the same user has none. Where the host itself is to run with low rights, or is run by somebody
// who is no administrator, this process's user has access, too.
//
// A folder that is there is treated as PrepareProtectedFolder does; so are failures.
uint32_t PrepareDataFolder(const Configuration& configuration);

}  // namespace host
