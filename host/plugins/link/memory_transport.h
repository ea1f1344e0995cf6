#pragma once

#include <deque>
#include <memory>
#include <string>

#include "host/common/sync.h"
#include "host/plugins/link/transport.h"

namespace host::link {

// A server in memory for tests: it hands out transports, one connection at a time, and the test
// plays its part.
class MemoryServer {
 public:
  // The factory of a ConnectionLoop. The server must outlive what uses it.
  TransportFactory Factory() {
    return [this] { return std::make_shared<Transport>(*this); };
  }

  // Waits for an agent to connect, and takes its first message.
  std::string Accept() {
    Lock lock(mutex_);
    changed_.Wait(lock, [this] { return connected_ != nullptr; });
    lock.unlock();
    return Take();
  }
  // Waits for the agent's next message.
  std::string Take() {
    Lock lock(mutex_);
    changed_.Wait(lock, [this] { return !from_agent_.empty(); });
    std::string text = std::move(from_agent_.front());
    from_agent_.pop_front();
    return text;
  }
  void Send(std::string text) {
    const Lock lock(mutex_);
    to_agent_.push_back(std::move(text));
    changed_.NotifyAll();
  }
  void Disconnect() {
    const Lock lock(mutex_);
    DisconnectLocked(connected_);
  }
  // The agent's writes wait from now on.
  void StopReading() {
    const Lock lock(mutex_);
    reading_ = false;
  }

 private:
  class Transport final : public ITransport {
   public:
    explicit Transport(MemoryServer& server) : server_(server) {}

    Opened Open(std::string&) override {
      const Lock lock(server_.mutex_);
      server_.connected_ = this;
      server_.reading_ = true;
      server_.to_agent_.clear();
      server_.from_agent_.clear();
      server_.changed_.NotifyAll();
      return Opened::kOpen;
    }
    Received Receive(std::string& text, std::chrono::milliseconds limit) override {
      Lock lock(server_.mutex_);
      const bool in_time = server_.changed_.WaitUntil(lock, Clock::now() + limit, [this] {
        return server_.connected_ != this || !server_.to_agent_.empty();
      });
      if (server_.connected_ != this) return Received::kClosed;
      if (!in_time) return Received::kTimeout;
      text = std::move(server_.to_agent_.front());
      server_.to_agent_.pop_front();
      return Received::kMessage;
    }
    bool Send(const std::string& text) override {
      Lock lock(server_.mutex_);
      server_.changed_.Wait(lock,
                            [this] { return server_.connected_ != this || server_.reading_; });
      if (server_.connected_ != this) return false;
      server_.from_agent_.push_back(text);
      server_.changed_.NotifyAll();
      return true;
    }
    void Close() override {
      const Lock lock(server_.mutex_);
      server_.DisconnectLocked(this);
    }

   private:
    MemoryServer& server_;
  };

  void DisconnectLocked(const Transport* transport) {
    if (connected_ != transport) return;
    connected_ = nullptr;
    changed_.NotifyAll();
  }

  Mutex mutex_;
  Condition changed_;
  const Transport* connected_ = nullptr;
  std::deque<std::string> to_agent_;
  std::deque<std::string> from_agent_;
  bool reading_ = true;
};

}  // namespace host::link
