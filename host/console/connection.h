#pragma once

#include <chrono>
#include <cstdint>
#include <thread>

#include "host/common/sync.h"
#include "module/rpc/client_handler.h"

namespace host::console {

// Follows the coming and going of the agent's service, and has done what is to be done then, on a
// thread of its own: the messaging library, which tells of it, may not be called back.
//
// Start and Stop belong to one thread; the rest is for any.
class Connection final : public messaging::rpc::notifications {
 public:
  // All on the connection's thread.
  struct IWork {
    // The service is there. False, with nothing left behind, to be called again a second later, as
    // long as it is there.
    virtual bool Begin() = 0;
    // Once for each Begin that gave true: that service has gone, or the connection stops.
    virtual void End() = 0;
    // Once between the two after some seconds, and as often as it was asked for.
    virtual void Check() = 0;

   protected:
    ~IWork() = default;
  };

  static constexpr std::chrono::milliseconds kRetry = std::chrono::seconds(1);
  static constexpr std::chrono::milliseconds kCheck = std::chrono::seconds(2);

  // Neither is owned.
  Connection(messaging::rpc::client_handler& client, IWork& work,
             std::chrono::milliseconds retry = kRetry, std::chrono::milliseconds check = kCheck)
      : client_(client), work_(work), retry_(retry), check_(check) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  virtual ~Connection() { Stop(); }

  void Start();
  // Ends the work. Stopping twice has no effect.
  void Stop();

  bool IsThere();
  // Has the work checked soon, if a service is there.
  void CheckSoon();

  void on_server_connected(int pid) override;
  void on_server_disconnected(int pid) override;

 private:
  void Run();
  bool IsDueLocked() const;

  messaging::rpc::client_handler& client_;
  IWork& work_;
  const std::chrono::milliseconds retry_;
  const std::chrono::milliseconds check_;
  std::thread thread_;

  Mutex mutex_;
  Condition changed_;
  // Guarded by mutex_.
  bool told_ = false;  // A notification has come.
  bool there_ = false;
  int pid_ = 0;
  uint64_t arrivals_ = 0;
  uint64_t served_ = 0;  // The arrival for which the work has begun; 0 for none.
  Clock::time_point next_begin_;
  Clock::time_point next_check_ = Clock::time_point::max();
  bool stopping_ = false;
};

}  // namespace host::console
