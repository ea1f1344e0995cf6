#pragma once

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "host/common/sync.h"
#include "host/plugins/link/connection_user.h"
#include "host/plugins/link/outbox.h"
#include "host/plugins/link/transport.h"

namespace host::link {

// How long to wait before the next attempt: about twice as long each time, from 0.5 s to 30 s, with
// so much chance in it that the agents of a restarted server come back spread out.
class BackOff {
 public:
  explicit BackOff(uint32_t seed) : random_(seed) {}

  std::chrono::milliseconds Next();
  // A connection has lasted for that long: one that outlived the wait before it starts the row
  // anew.
  void OnConnectionLasted(std::chrono::milliseconds duration);

 private:
  std::minstd_rand random_;
  std::chrono::milliseconds ceiling_{1000};
};

struct LoopLimits {
  std::chrono::milliseconds ping{15'000};     // silence after which the server is asked for a word
  std::chrono::milliseconds give_up{45'000};  // silence that ends the connection
  std::chrono::milliseconds drain{2'000};     // for what is left to send at the end
  Outbox::Limits outbox = {};
};

// Keeps one connection to the server, for as long as it can be had: a thread that connects,
// receives and hands on to the user, and one that writes.
class ConnectionLoop {
 public:
  // `name` stands in the log lines. `user` is borrowed.
  ConnectionLoop(const wchar_t* name, TransportFactory make_transport, IConnectionUser& user,
                 const LoopLimits& limits);
  ~ConnectionLoop() { Stop(); }
  ConnectionLoop(const ConnectionLoop&) = delete;
  ConnectionLoop& operator=(const ConnectionLoop&) = delete;

  void Start();
  // Sends what waits, ends the connection and waits for the threads. Stopping twice has no effect.
  void Stop();

 private:
  void Run();
  bool Connect();
  void Serve();
  void Receive();

  const std::wstring function_;
  const TransportFactory make_transport_;
  IConnectionUser& user_;
  const LoopLimits limits_;
  BackOff back_off_;
  std::thread thread_;

  Mutex mutex_;
  Condition changed_;
  bool stopping_ = false;
  std::shared_ptr<ITransport> transport_;  // of the present attempt
  std::shared_ptr<Outbox> outbox_;         // of the present connection
};

}  // namespace host::link
