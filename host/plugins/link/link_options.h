#pragma once

#include <string>

#include "host/plugins/link/server_address.h"

namespace host {

struct IHostConfiguration;

namespace link {

// Where a plug-in finds the server, and as whom it comes there. Options of the plug-in: "server",
// ws://host:port or wss://host:port; "keyFile", the file with the enrolment key, read at each
// attempt; "machineId", by default the one that Windows was installed with; "machineName", by
// default the computer's.
struct LinkOptions {
  ServerAddress server;
  MachineIdentity machine;
  std::wstring key_file;
};

// `door` is the path at the server where the address names none. False, and a log line, where an
// option is missing or bad.
bool ReadLinkOptions(IHostConfiguration& configuration, const wchar_t* plugin, const wchar_t* door,
                     LinkOptions& options);

// The machine's identity alone, by the two options above. As ReadLinkOptions.
bool ReadMachineIdentity(IHostConfiguration& configuration, const wchar_t* plugin,
                         MachineIdentity& machine);

}  // namespace link
}  // namespace host
