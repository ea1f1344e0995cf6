#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "module/frame/interface_id.h"

// The cloud connector: one connection to the management server that carries JSON-RPC calls in and
// streams both ways. The order of the operations is binary contract.
namespace VeldConnector {

namespace Rpc {

// One call, as the connector took it out of its envelope; nothing in it was parsed further.
struct Request {
  std::string module;
  std::string method;
  std::string id;
  std::string parameters;
};

struct Reply {
  std::string text;
  int32_t code = 0;
};

// Takes the calls of some modules. Called on the connector's threads.
struct IController {
  // Returns 0, or another code where the call is not for this controller. The caller zeroes `reply`
  // before: an unknown method leaves it untouched.
  virtual uint32_t OnRpcMethod(const Request& request, Reply& reply) = 0;
  virtual std::vector<std::string> GetRpcModules() = 0;

 protected:
  ~IController() = default;
};

}  // namespace Rpc

namespace Stream {

// One stream between an administrator's terminal and this machine.
struct IConnection {
  // Takes the incoming messages of one stream, one at a time, on a thread of the stream's.
  struct IMessageHandler {
    virtual void OnMessage(const std::string& text) = 0;
    virtual ~IMessageHandler() = default;
  };

  virtual void SetMessageHandler(IMessageHandler* handler) = 0;
  // Sends a message: its type and its content, a JSON text. Waits while the far side takes nothing.
  // Returns 0, or a code; 8 and 9 mean that the stream is lost. `argument` is always 10.
  virtual uint32_t Send(const std::pair<std::string, std::string>& message, int32_t argument) = 0;

 protected:
  ~IConnection() = default;
};

}  // namespace Stream

// Told of the connection's ups and downs.
struct ISocketConnection {
  virtual void OnConnect() = 0;
  virtual void OnDisconnect() = 0;
  virtual void OnReserved() = 0;

 protected:
  ~ISocketConnection() = default;
};

struct ISocketManager {
  // Returns 0 for success.
  virtual uint32_t RegisterController(Rpc::IController* controller) = 0;
  // The stream of that id, or null where there is none.
  virtual Stream::IConnection* GetStream(const std::string& stream_id) = 0;
  // When this has returned the stream's handler is called no more.
  virtual void DestroyStream(Stream::IConnection* stream) = 0;

 protected:
  ~ISocketManager() = default;
};

struct IConnector {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{E4D6861C-7CC1-4A8A-B007-2FD9C96E8651}");
  static constexpr const wchar_t* kTypeName = L"VeldConnector::IConnector";

  // Null on failure.
  virtual ISocketManager* CreateSocketManager(ISocketConnection* observer) = 0;
  virtual void DeleteSocketManager(ISocketManager* manager) = 0;

 protected:
  ~IConnector() = default;
};

}  // namespace VeldConnector
