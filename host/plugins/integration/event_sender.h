#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <thread>

#include "host/common/sync.h"
#include "host/plugins/integration/event_store.h"
#include "host/plugins/link/outbox.h"

namespace host::integration {

// What may be under way to the server, unacknowledged. One event may reach beyond `bytes`.
struct SendWindow {
  size_t events = 64;
  size_t bytes = 8 * 1024 * 1024;
};

// Brings the events of a store to the server, in order, and takes them out of the store once the
// server has them. It all happens on a thread of its own; the operations only tell it, and wait for
// nothing.
class EventSender {
 public:
  // `store` is borrowed.
  EventSender(EventStore& store, const SendWindow& window) : store_(store), window_(window) {}
  EventSender(const EventSender&) = delete;
  EventSender& operator=(const EventSender&) = delete;
  ~EventSender() { Stop(); }

  void Start();
  // Stopping twice has no effect.
  void Stop();

  // The server takes events over this connection, those after number `acknowledged`.
  void Welcomed(std::shared_ptr<link::Outbox> outbox, uint64_t acknowledged);
  void Acknowledged(uint64_t number);
  void Disconnected();

  // There is a new event in the store.
  void Wake();

 private:
  struct UnderWay {
    uint64_t number;
    size_t bytes;
  };

  void Run();
  bool HasRoomLocked() const;
  void SendLocked(Lock& lock);

  EventStore& store_;
  const SendWindow window_;
  std::thread thread_;

  Mutex mutex_;
  Condition changed_;
  bool stopping_ = false;
  std::shared_ptr<link::Outbox> outbox_;  // Null until the server has said welcome.
  bool more_ = false;                     // The store may have events that were not sent.
  uint64_t sent_ = 0;                     // the last one
  uint64_t acknowledged_ = 0;
  uint64_t forgotten_ = 0;
  std::deque<UnderWay> under_way_;
  size_t under_way_bytes_ = 0;
};

}  // namespace host::integration
