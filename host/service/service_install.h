#pragma once

#include <cstdint>

#include "host/service/configuration.h"

namespace host {

// Makes a Windows service of the host: named as the host is, started with the machine under the
// system's account by `/service /config FILE`, and anew after each failure (1 s, 5 s, 60 s later).
// Returns a status: 0; 1073 where there is a service of that name.
uint32_t InstallService(const Configuration& configuration);

// Stops the service, waits for the end of its process and removes it. Returns a status: 0; 1060
// where there is none.
uint32_t UninstallService(const Configuration& configuration);

}  // namespace host
