#include <cstdio>

#include "bench/rpc/echo.h"
#include "bench/rpc/road.h"
#include "host/testing/host_runner.h"
#include "module/rpc/client.h"

namespace bench {
namespace {

class EchoClient : public messaging::rpc::client<IEcho> {
 public:
  ~EchoClient() override = default;

  int32_t Echo(const std::string& request, std::string& answer) override {
    messaging::rpc::ParameterList input;
    messaging::rpc::ParameterList output;
    if (!input.AddBytes(kEchoRequest, request)) return 1627;
    const int32_t status = send_request(kEchoMethod, input, output, /*timeout=*/0);
    return output.ReadBytes(kEchoAnswer, answer) ? status : 87;
  }
};

class OurCaller : public Caller {
 public:
  explicit OurCaller(EchoClient& client) : client_(client) {}

  bool Call(const std::string& request, std::string& answer) override {
    const int32_t status = client_.Echo(request, answer);
    if (status != 0) std::fprintf(stderr, "A call gave %d.\n", status);
    return status == 0;
  }

 private:
  EchoClient& client_;
};

std::string Plugin(const char* name, const char* library, const std::string& options = "") {
  return std::string("<plugin name=\"") + name + "\" library=\"" + library + "\" object=\"" + name +
         "\">" + options + "</plugin>\n";
}

// A real host with the server, and a client that has no host.
class OurRoad : public Road {
 public:
  OurRoad() {
    host_.Configure(Plugin("GlobalEventQueue", "framework.dll") +
                    Plugin("messaging.channel_gateway", "messaging_tsr.dll",
                           host::testing::Option("hub", "true")) +
                    Plugin("messaging.process_info_db", "AgentPlugins.dll") +
                    Plugin("Echo", "BenchEcho.dll") + Plugin("Echo.Server", "BenchEcho.dll"));
    host_.Start();
    host_.ReadUntil("is running");
    ready_ = client_.Init(/*main=*/nullptr) == 0 && client_.wait_for_connection(10000);
  }
  ~OurRoad() override { client_.UnInit(); }

  std::unique_ptr<Caller> NewCaller() override {
    return ready_ ? std::make_unique<OurCaller>(client_) : nullptr;
  }

 private:
  host::testing::HostRunner host_;
  EchoClient client_;
  bool ready_ = false;
};

}  // namespace

std::unique_ptr<Road> OpenOurRpc(const std::wstring&) {
  return std::make_unique<OurRoad>();
}

}  // namespace bench
