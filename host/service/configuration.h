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
  int line = 0;
};

// A host program's configuration file:
//
//   <host name="TsrSecurityService" data="C:\ProgramData\Agent" instance="" stopLimit="60">
//     <log path="log\service.log" level="notice" maxSize="10485760" files="5"/>
//     <declares host="TsrRemoteTerminalService"/>
//     <plugin name="VeldConnector" library="AgentPlugins.dll" object="VeldConnector">
//       <option name="server" value="https://…"/>
//     </plugin>
//     <stop plugin="VeldConnector"/>
//   </host>
//
// `name` is the host's, which it declares with all those under <declares>; `data` is the folder for
// its data; `instance` sets this agent apart from others on the machine; `stopLimit` says how many
// seconds an orderly stop may take. Plug-ins start in their order here; the first to stop are those
// under <stop>, in its order, then come the others in the reverse order of their starts. Paths are
// relative to the file's folder. It holds no secret: where a plug-in needs one, an option names the
// file that has it.
struct Configuration {
  std::wstring file;
  std::wstring folder;
  std::wstring name;
  std::wstring data;
  std::wstring instance;
  uint32_t stop_limit = 60;
  bool has_log = false;
  std::vector<std::wstring> declared;  // `name` first.
  std::vector<PluginEntry> plugins;
  std::vector<std::wstring> first_to_stop;  // Names of `plugins`.
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
