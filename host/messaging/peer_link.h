#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/messaging/pending_call.h"
#include "host/messaging/pipe_stream.h"

namespace host::channels {

// This process's connection to another one: its calls and posts go there, their answers come back.
// What the other asks of this one comes over a connection of the other's.
//
// The answers are read by a thread that waits for one, so that a call costs no hand-over between
// threads: one caller at a time reads for all. Only where no caller can, the link's own thread
// does: to connect, to send on what the pipe did not take at once, and for calls whose callers wait
// for several processes.
class PeerLink {
 public:
  // With `user`, to the process of a user who may mean harm: it is neither waited for nor does much
  // wait for it.
  PeerLink(const NodeKey& peer, std::wstring pipe_name, uint64_t own_number, bool user);
  PeerLink(const PeerLink&) = delete;
  PeerLink& operator=(const PeerLink&) = delete;
  ~PeerLink();

  // All of these: any thread.
  //
  // Returns 0, 170 where too much waits for the far end already, or 2250.
  uint32_t Post(std::string frame);
  // As Post; the call counts this link as one of its targets when that succeeds. `driven`: its
  // caller will go on with Drive.
  uint32_t Call(std::string frame, const std::shared_ptr<PendingCall>& call, bool driven);
  // Returns when the call is done, or at the deadline.
  void Drive(PendingCall& call, const Deadline& deadline);
  // The caller has gone.
  void Forget(const PendingCall& call);
  // Ends the calls under way.
  void Break();
  // As Break, once the answers that are here already, or on the way, have been read: the far end
  // has gone.
  void Finish();
  bool broken() const { return stream_.broken(); }
  // Breaks it where the far end has closed its own.
  void Probe() {
    if (!stream_.Probe()) Break();
  }

 private:
  struct Waiting {
    std::shared_ptr<PendingCall> call;
    bool driven;
  };

  // The link's own thread.
  void Run();
  bool Connect();
  // Pumps until `enough` says so or the deadline has passed. By who leads only.
  template <class Predicate>
  void Lead(const Predicate& enough, const Deadline* deadline);
  // False for a frame that has no business here.
  bool Handle(const Frame& frame);
  void FailAll();
  void FinishLocked();
  // Finds who leads next. The lead is free.
  void PassLeadLocked();
  bool NeedsThreadLocked() const { return undriven_ > 0 || stream_.waiting() > 0; }
  std::shared_ptr<PendingCall> TakeLocked(uint32_t id);

  const NodeKey peer_;
  const std::wstring pipe_name_;
  const bool user_;
  const orn::UniqueHandle needed_;  // Auto-reset: the thread has something to do.
  PipeStream stream_;

  std::mutex mutex_;
  // Guarded by mutex_.
  std::map<uint32_t, Waiting> calls_;
  size_t undriven_ = 0;                  // Of calls_.
  bool leading_ = true;                  // Somebody pumps; at first the thread, which connects.
  std::vector<PendingCall*> followers_;  // Their callers wait for the lead.
  bool finishing_ = false;

  std::thread thread_;
};

}  // namespace host::channels
