// BenchEcho.dll: the plug-ins "Echo", which echoes, and "Echo.Server", by which others call it.

#include "bench/rpc/echo.h"
#include "module/frame/object_declaration.h"
#include "module/rpc/server_factory.h"

namespace bench {
namespace {

class EchoPlugin : public IServPlugin, public IEcho {
 public:
  virtual ~EchoPlugin() = default;

  void* GetInterface(const InterfaceId& id) override {
    if (id == IEcho::kInterfaceId) return static_cast<IEcho*>(this);
    if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    return nullptr;
  }
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}

  int32_t Echo(const std::string& request, std::string& answer) override {
    answer = request;
    return 0;
  }
};

class EchoServer : public messaging::rpc::server<IEcho> {
 public:
  EchoServer() { register_method(kEchoMethod, &EchoServer::Echo, /*admin_required=*/false); }

 private:
  int32_t Echo(const messaging::rpc::ParameterList& input, messaging::rpc::ParameterList& output) {
    std::string request;
    std::string answer;
    if (!input.ReadBytes(kEchoRequest, request)) return 87;
    const int32_t status = (*target)->Echo(request, answer);
    return output.AddBytes(kEchoAnswer, answer) ? status : 1627;
  }
};

ExportedObjectDeclaration<EchoPlugin> echo{L"Echo"};
ExportedObjectDeclaration<messaging::rpc::server_factory<EchoServer>> server{L"Echo.Server"};

}  // namespace
}  // namespace bench
