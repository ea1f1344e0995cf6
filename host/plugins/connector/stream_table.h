#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/common/sync.h"
#include "host/plugins/connector/stream.h"
#include "host/plugins/link/outbox.h"

namespace host::connector {

// All streams: those that the server opened in the present connection, and those that a user in
// this process has, also of connections that are gone. Any thread.
//
// A lost connection is told in this order: Detach, WaitUntilIdle, the users' OnDisconnect,
// EndToldToUsers. A stream that was opened in between by a call that had not returned in time is
// ended after that, by a "streamError" of its own, since its user may have met it in OnDisconnect
// or not.
class StreamTable {
 public:
  explicit StreamTable(const StreamLimits& limits) : limits_(limits) {}
  StreamTable(const StreamTable&) = delete;
  StreamTable& operator=(const StreamTable&) = delete;

  void Attach(std::shared_ptr<link::Outbox> outbox);
  void Detach();
  void WaitUntilIdle();
  void EndToldToUsers();
  void CloseIntake();

  // The server's messages; those for a stream that is unknown, because it has just ended, are
  // dropped.
  void Open(const std::string& id);
  void Deliver(const std::string& id, const std::string& text);
  void AddCredit(const std::string& id, uint64_t bytes);
  void Close(const std::string& id);

  // Around one call of the server's, which came over the connection of `origin`. A stream that is
  // claimed in between belongs to that connection, and begins when the call has ended.
  void BeginCall(std::shared_ptr<link::Outbox> origin);
  void EndCall();

  // The stream of that id for a user who gives it back by Destroy. Where there is no connection, or
  // the id cannot be one, it is a dead one. Null for an empty id only.
  //
  // Waits until an earlier stream of that id is destroyed. Its session must be on its way out by
  // then, as it is where the terminal manager has given the id free; and the caller may hold
  // nothing that this way needs.
  Stream* Claim(const std::string& id, const void* owner);
  void Destroy(const VeldConnector::Stream::IConnection* stream);
  // Stream::YieldEnd of the stream that has a user; true where there is none.
  bool YieldEnd(const std::string& id);
  // Stream::LeaveEndToUser of every stream that has a user. Waits for nothing.
  void LeaveEndsToUsers();
  // Stream::LoseHost of every stream that has a user. Waits for nothing.
  void LoseHosts();
  void DestroyAllOf(const void* owner);

 private:
  struct Claimed {
    std::shared_ptr<Stream> stream;
    const void* owner;
    bool ending = false;  // Destroy is at work
  };

  std::shared_ptr<Stream> Find(const std::string& id);
  bool IsClaimedLocked(const std::shared_ptr<Stream>& stream) const;
  bool IsClaimedLocked(const std::string& id) const;
  std::vector<std::shared_ptr<Stream>> AllClaimed();
  void TellOrphansLocked();

  const StreamLimits limits_;

  Mutex mutex_;
  Condition destroyed_;
  std::shared_ptr<link::Outbox> outbox_;                  // Null while there is no connection.
  std::map<std::string, std::shared_ptr<Stream>> by_id_;  // of the present connection
  std::vector<Claimed> claimed_;
  bool in_call_ = false;
  std::shared_ptr<link::Outbox> call_origin_;
  std::vector<std::shared_ptr<Stream>> opened_in_call_;
  std::vector<std::shared_ptr<Stream>> orphans_;  // opened by a call that outlived its connection
  bool telling_end_ = false;
  bool intake_closed_ = false;
};

}  // namespace host::connector
