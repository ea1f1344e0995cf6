#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace host {

struct PluginEntry {
  std::wstring name;     // The display name under which others get it.
  std::wstring library;  // A relative path lies in the program's folder.
  std::wstring object;   // As the library exports it.
  std::map<std::wstring, std::wstring> options;
  bool optional = false;  // The host does without it where it cannot be started.
  int line = 0;
};

// Another process of the agent, which this host starts and watches (supervision.h).
struct ProcessEntry {
  std::wstring program;  // The full path.
  std::wstring config;   // As given.
  int line = 0;
};

// The environment variable with the folder in which a bare configuration name is looked up first.
// Each host sets it to the folder of its own configuration, for the processes that are started from
// it.
inline constexpr const wchar_t* kConfigurationFolderVariable = L"ORN_TSR_CONFIG";

// The full path of the configuration file `given`. A bare name is that of a file in the folder that
// ORN_TSR_CONFIG names, or else of one beside the program; a path is taken from the current folder.
std::wstring FindConfiguration(const std::wstring& given);

// A host program's configuration file:
//
//   <host name="TsrSecurityService" data="C:\ProgramData\Agent" instance="" stopLimit="60"
//         rights="full">
//     <log path="log\service.log" level="notice" maxSize="10485760" files="5"/>
//     <declares host="TsrRemoteTerminalService"/>
//     <plugin name="VeldConnector" library="AgentPlugins.dll" object="VeldConnector">
//       <option name="server" value="https://…"/>
//     </plugin>
//     <stop plugin="VeldConnector"/>
//     <process program="TsrLowPrivilegeWorker.exe" config="TsrRemoteTerminalService.exe.xml"/>
//   </host>
//
// `name` is the host's, which it declares with all those under <declares>; `data` is the folder for
// its data; `history` is the file of the machine's history, for a host that shows it; `instance`
// sets this agent apart from others on the machine; `stopLimit` says how many seconds an orderly
// stop may take; `rights` is "low" for a host that is to run with fewer rights than it was started
// with (low_rights.h). Plug-ins start in their order here, and the host with them, but for one that
// is `optional="true"`; the first to stop are those under <stop>, in its order, then come the
// others in the reverse order of their starts. Each <process> is started with `/process /config
// CONFIG` once all plug-ins have started, and again whenever it ends; a relative `program` lies in
// the program's folder, a bare `config` is one of FindConfiguration. All other paths are relative
// to the file's folder, and may name environment variables as in %LOCALAPPDATA%. It holds no
// secret: where a plug-in needs one, an option names the file that has it.
struct Configuration {
  std::wstring file;
  std::wstring folder;
  std::wstring name;
  std::wstring data;
  std::wstring history;  // Empty for none.
  std::wstring instance;
  uint32_t stop_limit = 60;
  bool low_rights = false;
  bool has_log = false;
  std::vector<std::wstring> declared;  // `name` first.
  std::vector<PluginEntry> plugins;
  std::vector<std::wstring> first_to_stop;  // Names of `plugins`.
  std::vector<ProcessEntry> processes;
};

// Why a configuration is of no use.
struct ConfigurationProblem {
  int line = 0;  // 0: the file as a whole.
  uint32_t code = 0;
  std::wstring text;
};

// Reads the file at the full path `file`. Anything unknown in it is an error: a misspelt name would
// be an ignored setting otherwise. Returns false with `problem` filled.
bool ReadConfiguration(const std::wstring& file, Configuration& configuration,
                       ConfigurationProblem& problem);

}  // namespace host
