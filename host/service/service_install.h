#pragma once

#include <cstdint>

#include "host/service/configuration.h"

namespace host {

// Makes a Windows service of the host: named as the host is, started with the machine under the
// system's account by `PROGRAM /service /config FILE`, and anew after each failure (1 s, 5 s, 60 s
// later). Returns a status: 0; 1073 where there is a service of that name; 1072 where it has been
// removed but somebody holds it still.
uint32_t InstallService(const Configuration& configuration, const std::wstring& program);

// Gives the service that is there the same form. Returns a status: 0; 1060 where there is none.
uint32_t UpdateService(const Configuration& configuration, const std::wstring& program);

// From now on the service is not started again after a failure, until UpdateService. A status.
uint32_t SuspendRestarts(const std::wstring& name);

// Starts the service and waits until it runs. Returns a status: 0, also where it runs already; 1066
// where it ended instead; 1460 where it has not come up within its own hints of the time it needs.
uint32_t StartInstalledService(const std::wstring& name);

// Stops the service and waits for the end of its process. `running` says whether there was one.
// Returns a status: 0; 1060 where there is no such service.
uint32_t StopService(const Configuration& configuration, bool& running);

// Stops the service, waits for the end of its process and removes it. Returns a status: 0; 1060
// where there is none.
uint32_t UninstallService(const Configuration& configuration);

}  // namespace host
