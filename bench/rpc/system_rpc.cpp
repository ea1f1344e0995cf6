// The interface is written as the runtime takes it from a compiler of such: one operation, whose
// request and answer are bytes as they are.

#include <cstring>

#include "bench/rpc/road.h"
#include "module/frame/windows.h"
// After windows.h.
#include <rpc.h>
#include <rpcdce.h>
#include <rpcdcep.h>

namespace bench {
namespace {

constexpr unsigned kDataRepresentation = 0x10;  // Little-endian.

void __RPC_STUB EchoStub(PRPC_MESSAGE message) {
  const void* request = message->Buffer;  // The runtime's, until this returns.
  const unsigned length = message->BufferLength;
  message->DataRepresentation = kDataRepresentation;
  if (I_RpcGetBuffer(message) != RPC_S_OK) RpcRaiseException(RPC_S_OUT_OF_MEMORY);
  std::memcpy(message->Buffer, request, length);
  message->BufferLength = length;
}

RPC_DISPATCH_FUNCTION dispatch_functions[] = {EchoStub, nullptr};
RPC_DISPATCH_TABLE dispatch_table{
    .DispatchTableCount = 1, .DispatchTable = dispatch_functions, .Reserved = 0};

constexpr RPC_SYNTAX_IDENTIFIER kInterface{
    {0x6d0f3c51, 0x2f57, 0x4a3e, {0x9b, 0x1c, 0x60, 0x55, 0x0a, 0x7e, 0x41, 0xd8}}, {1, 0}};
constexpr RPC_SYNTAX_IDENTIFIER kTransferSyntax{
    {0x8a885d04, 0x1ceb, 0x11c9, {0x9f, 0xe8, 0x08, 0x00, 0x2b, 0x10, 0x48, 0x60}}, {2, 0}};

RPC_CLIENT_INTERFACE client_interface{.Length = sizeof(RPC_CLIENT_INTERFACE),
                                      .InterfaceId = kInterface,
                                      .TransferSyntax = kTransferSyntax,
                                      .DispatchTable = nullptr,
                                      .RpcProtseqEndpointCount = 0,
                                      .RpcProtseqEndpoint = nullptr,
                                      .Reserved = 0,
                                      .InterpreterInfo = nullptr,
                                      .Flags = 0};
RPC_SERVER_INTERFACE server_interface{.Length = sizeof(RPC_SERVER_INTERFACE),
                                      .InterfaceId = kInterface,
                                      .TransferSyntax = kTransferSyntax,
                                      .DispatchTable = &dispatch_table,
                                      .RpcProtseqEndpointCount = 0,
                                      .RpcProtseqEndpoint = nullptr,
                                      .DefaultManagerEpv = nullptr,
                                      .InterpreterInfo = nullptr,
                                      .Flags = 0};

// The runtime takes its texts as unsigned short.
RPC_WSTR Text(std::wstring& text) {
  return reinterpret_cast<RPC_WSTR>(text.data());
}

std::wstring Protocol() {
  return L"ncalrpc";
}

class SystemCaller : public Caller {
 public:
  explicit SystemCaller(RPC_BINDING_HANDLE binding) : binding_(binding) {}

  bool Call(const std::string& request, std::string& answer) override {
    RPC_MESSAGE message{};
    message.Handle = binding_;
    message.DataRepresentation = kDataRepresentation;
    message.BufferLength = static_cast<unsigned>(request.size());
    message.RpcInterfaceInformation = &client_interface;
    if (I_RpcGetBuffer(&message) != RPC_S_OK) return false;
    std::memcpy(message.Buffer, request.data(), request.size());
    const RPC_STATUS status = I_RpcSendReceive(&message);
    if (status == RPC_S_OK) answer.assign(static_cast<char*>(message.Buffer), message.BufferLength);
    I_RpcFreeBuffer(&message);
    return status == RPC_S_OK;
  }

 private:
  const RPC_BINDING_HANDLE binding_;  // Not owned.
};

class SystemRoad : public Road {
 public:
  explicit SystemRoad(const std::wstring& name) {
    std::wstring protocol = Protocol();
    std::wstring endpoint = name;
    RPC_WSTR text = nullptr;
    RpcStringBindingComposeW(nullptr, Text(protocol), nullptr, Text(endpoint), nullptr, &text);
    RpcBindingFromStringBindingW(text, &binding_);
    RpcStringFreeW(&text);
  }
  ~SystemRoad() override { RpcBindingFree(&binding_); }

  std::unique_ptr<Caller> NewCaller() override { return std::make_unique<SystemCaller>(binding_); }

 private:
  RPC_BINDING_HANDLE binding_ = nullptr;
};

}  // namespace

std::unique_ptr<Road> OpenSystemRpc(const std::wstring& name) {
  return std::make_unique<SystemRoad>(name);
}

bool ServeSystemRpc(const std::wstring& name, int callers) {
  std::wstring protocol = Protocol();
  std::wstring endpoint = name;
  return RpcServerUseProtseqEpW(Text(protocol), RPC_C_PROTSEQ_MAX_REQS_DEFAULT, Text(endpoint),
                                nullptr) == RPC_S_OK &&
         RpcServerRegisterIf(&server_interface, nullptr, nullptr) == RPC_S_OK &&
         RpcServerListen(/*MinimumCallThreads=*/1, static_cast<unsigned>(callers) + 1,
                         /*DontWait=*/TRUE) == RPC_S_OK;
}

}  // namespace bench
