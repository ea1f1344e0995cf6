#include "tests/processes/service_process.h"

namespace remote_calls {
namespace {

std::string Plugin(const std::string& name, const std::string& library, const std::string& object,
                   const std::string& options = "") {
  return "<plugin name='" + name + "' library='" + library + "' object='" + object + "'>" +
         options + "</plugin>\n";
}

std::string Server(const std::string& name) {
  return Plugin(name, "RemoteCallsTestPlugin.dll", name + ".Fake") +
         Plugin(name + ".Server", "RemoteAccess.dll", name + ".Server");
}

}  // namespace

ServiceProcess::ServiceProcess(bool servers) {
  std::string plugins =
      Plugin("GlobalEventQueue", "framework.dll", "GlobalEventQueue") +
      Plugin("messaging.channel_gateway", "messaging_tsr.dll", "messaging.channel_gateway",
             host::testing::Option("hub", "true") +
                 host::testing::Option("users", "TsrComm.RemoteAccess=1")) +
      Plugin("messaging.process_info_db", "AgentPlugins.dll", "messaging.process_info_db");
  if (servers) plugins += Server("RemoteAccess") + Server("RemoteTerminalManager");
  host_.Configure(plugins);
  host_.Start();
  host_.ReadUntil("is running");
}

}  // namespace remote_calls
