#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace host::link {

// The longest message either side may send, in bytes, where a connection has no other limit.
inline constexpr size_t kLongestMessage = 1024 * 1024;

// One attempt at a connection that carries texts both ways, and the connection itself.
class ITransport {
 public:
  enum class Opened {
    kOpen,
    kRefused,  // The server is there and does not take the enrolment key.
    kFailed,
  };
  enum class Received {
    kMessage,
    kTooLong,  // A message went by that is longer than may be.
    kTimeout,
    kClosed,
  };

  virtual ~ITransport() = default;

  // Called once, first. `reason` says in words what went wrong.
  virtual Opened Open(std::string& reason) = 0;
  // Waits for the next message, at most for `limit`. One thread.
  virtual Received Receive(std::string& text, std::chrono::milliseconds limit) = 0;
  // Waits until the network has taken the message; false once the connection is closed. One thread,
  // which may be another than Receive's.
  virtual bool Send(const std::string& text) = 0;
  // Ends the connection, and each call above that waits. Any thread, any number of times; never
  // waits.
  virtual void Close() = 0;
};

using TransportFactory = std::function<std::shared_ptr<ITransport>()>;

}  // namespace host::link
