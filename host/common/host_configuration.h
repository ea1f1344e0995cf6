#pragma once

#include "module/frame/interface_id.h"

namespace host {

// What the host program's configuration file says, for the plug-ins that this agent brings along:
//
//   ServPlugin<host::IHostConfiguration> configuration_{host::kConfigurationName};
//   ...
//   const wchar_t* server = configuration_->GetOption(L"VeldConnector", L"server");
//
// The host program serves it through its component manager from before the first Init to the end of
// the process. Nothing in it changes, so any thread may call it, and every text it gives stays
// valid until the process ends, also after the reference was given back.
struct IHostConfiguration {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{5B0E6C13-94D7-4F0A-8C52-1E7A3BD96F48}");
  static constexpr const wchar_t* kTypeName = L"host::IHostConfiguration";

  // The value of an option of the plug-in with that display name; null where there is none. An
  // option that is given but empty is the empty text. Names match exactly.
  virtual const wchar_t* GetOption(const wchar_t* plugin, const wchar_t* option) = 0;

  // The folder where the agent keeps its data: absolute, there, without a backslash at the end.
  virtual const wchar_t* GetDataFolder() = 0;

  // What is new with each start of the agent, and the same in all processes that its service
  // started: 36 characters of 0-9 a-f and -.
  virtual const wchar_t* GetRun() = 0;

  // The file at `path`, which an option gave: a relative one lies in the folder of the
  // configuration file. The text stays valid as all others do, so this is for Init and not for a
  // loop.
  virtual const wchar_t* ResolvePath(const wchar_t* path) = 0;

 protected:
  ~IHostConfiguration() = default;
};

// The display name under which the component manager has it.
inline constexpr const wchar_t* kConfigurationName = L"Host.Configuration";

}  // namespace host
