#include "host/plugins/link/link_options.h"

#include <iterator>

#include "host/common/host_configuration.h"
#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host::link {

namespace {

std::wstring InstalledMachineId() {
  wchar_t id[65] = {};
  DWORD size = sizeof(id);
  RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
               RRF_RT_REG_SZ, /*pdwType=*/nullptr, id, &size);
  return id;
}

std::wstring ComputerName() {
  wchar_t name[256] = {};
  DWORD size = static_cast<DWORD>(std::size(name));
  GetComputerNameExW(ComputerNameDnsHostname, name, &size);
  return name;
}

// Without the value: an address may hold a password that does not belong there.
bool Bad(const wchar_t* plugin, const wchar_t* option) {
  ORN_LOG(logging::kError, (std::wstring(plugin) + L"::Init").c_str(), L"Bad option \"%s\"",
          option);
  return false;
}

}  // namespace

bool ReadLinkOptions(IHostConfiguration& configuration, const wchar_t* plugin, const wchar_t* door,
                     LinkOptions& options) {
  const wchar_t* const server = configuration.GetOption(plugin, L"server");
  const auto address = ParseServerAddress(server == nullptr ? L"" : server, door);
  if (!address) return Bad(plugin, L"server");
  options.server = *address;

  const wchar_t* const key_file = configuration.GetOption(plugin, L"keyFile");
  if (key_file == nullptr || *key_file == L'\0') return Bad(plugin, L"keyFile");
  options.key_file = configuration.ResolvePath(key_file);

  return ReadMachineIdentity(configuration, plugin, options.machine);
}

bool ReadMachineIdentity(IHostConfiguration& configuration, const wchar_t* plugin,
                         MachineIdentity& machine) {
  const wchar_t* const id = configuration.GetOption(plugin, L"machineId");
  machine.id = id == nullptr ? InstalledMachineId() : id;
  if (!IsMachineId(machine.id)) return Bad(plugin, L"machineId");

  const wchar_t* const name = configuration.GetOption(plugin, L"machineName");
  machine.name = name == nullptr ? ComputerName() : name;
  return true;
}

}  // namespace host::link
