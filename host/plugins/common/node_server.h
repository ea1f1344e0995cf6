#pragma once

#include <cstdint>

namespace host {

// A real server for tests: a Node.js process. It connects to a control socket, over which it names
// its port and whose end is its own.
class NodeServer {
 public:
  // `script` is named from the root of the sources. It gets that root and the control socket's port
  // as its arguments.
  explicit NodeServer(const char* script);
  ~NodeServer();
  NodeServer(const NodeServer&) = delete;
  NodeServer& operator=(const NodeServer&) = delete;

  // 0 where the server did not start.
  int port() const { return port_; }

 private:
  uintptr_t control_;  // A socket; its header is large.
  int port_ = 0;
};

}  // namespace host
