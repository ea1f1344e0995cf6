#pragma once

#include <cstdint>

#include "host/service/configuration.h"
#include "module/frame/handle.h"

// Running a host with fewer rights than it was started with: no administrators' group, nor another
// one that makes up for it (they are kept for refusals only), no privilege but SeChangeNotify,
// medium integrity. A process cannot take a group from its own token, so the program starts itself
// again and waits for that one:
//
//   starter ── TsrLowPrivilegeWorker.exe, full rights ── the same, /restricted, low rights
//              (RunWithLowRights)                        (the host)
//
// The second one and all its children are in a job that ends with the first; the first ends with
// the second, by its exit code. Only the second declares the host and hears of a stop.
namespace host {

// A token for a process of low rights, made of this process's own. What such a process makes is
// open to its user, to administrators and to the system, so that the service can open the pipes of
// its consoles. Returns a status.
uint32_t MakeLowToken(orn::UniqueHandle& token);

// Whether this process has no more than low rights.
bool HasLowRights();

// The first process's part: makes the data folder, starts the second process and waits for its end;
// hands a Ctrl-C on to it as a request to stop. Returns the exit code.
int RunWithLowRights(const Configuration& configuration);

}  // namespace host
