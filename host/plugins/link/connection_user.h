#pragma once

#include <memory>
#include <string>

#include "host/plugins/link/outbox.h"

namespace host::link {

// Who speaks over a connection that a ConnectionLoop keeps. Called on the loop's thread only, in
// the order Up, OnMessage any number of times, Down.
class IConnectionUser {
 public:
  // There is a connection: what is pushed first is its first message.
  virtual void Up(std::shared_ptr<Outbox> outbox) = 0;
  // One message of the server's. Must not wait: nothing is received meanwhile.
  virtual void OnMessage(const std::string& text) = 0;
  // The connection is gone.
  virtual void Down() = 0;

 protected:
  ~IConnectionUser() = default;
};

// The heart-beats of every connection, both ways: who gets a ping answers with a pong.
inline constexpr char kPingText[] = R"({"type":"ping"})";
inline constexpr char kPongText[] = R"({"type":"pong"})";

}  // namespace host::link
