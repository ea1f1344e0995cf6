#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "host/common/sync.h"
#include "host/plugins/link/outbox.h"
#include "module/platform/veld_connector.h"

namespace host::connector {

struct StreamLimits {
  size_t window_bytes = 256 * 1024;         // outward, not yet credited back
  size_t inward_bytes = 1024 * 1024;        // inward, not yet delivered
  std::chrono::milliseconds stall{10'000};  // a waiting Send without any credit
};

// One stream between an administrator's terminal and its user in this process.
//
// Its user sees an order that keeps a session from being ended twice at once: nothing is delivered
// before the call that opened it has returned (Begin); at most one message that ends the stream is
// delivered, none after the user's own "streamStop", none once YieldEnd or LeaveEndToUser has left
// the end to somebody else; from the moment when one is on its way, Send discards. A stream that is
// lost ends in the same way: Send never says so by the codes 8 and 9. To such a code the user would
// answer from inside of its Send, with locks held that an end of another session may wait for.
//
// A stream without an outbox is dead: it was asked for where there is no connection.
class Stream final : public VeldConnector::Stream::IConnection,
                     public std::enable_shared_from_this<Stream> {
 public:
  Stream(std::string id, std::shared_ptr<link::Outbox> outbox, const StreamLimits& limits);
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() = default;

  const std::string& id() const { return id_; }

  // Of IConnection; any thread.
  void SetMessageHandler(IMessageHandler* handler) override;
  uint32_t Send(const std::pair<std::string, std::string>& message, int32_t argument) override;

  // The connection's side. None of these waits.
  void Accept(const std::string& text);
  void AddCredit(uint64_t bytes);
  // The server has forgotten the stream.
  void EndInward();
  // What is behind the stream on this machine is gone: tells the server and ends the session.
  void LoseHost();

  // The user has it: its thread starts. Once.
  void StartDelivery();
  // The call that opened it has returned. False where the connection is gone, and with it what had
  // come in.
  bool Begin();
  // After Begin of a stream without connection: delivers the one "streamError" that ends the
  // session.
  void TellDead();
  // The connection is lost: waiting Sends return with a failure, nothing more is delivered.
  void Disconnect();
  // The agent is being stopped: nothing more is delivered, and Send discards what it would have to
  // wait for.
  void CloseIntake();
  // The user is about to be told from another side that the session has ended: from now on nothing
  // is delivered. Waits for the opening call to return. False where the stream has brought an end
  // already.
  bool YieldEnd();
  // The user is about to end all its sessions by itself: as YieldEnd, and Send discards what it
  // would have to wait for. Waits for nothing. Has no effect before Begin: whether such a session
  // is among them is not known.
  void LeaveEndToUser();
  // Waits for a running delivery.
  void WaitUntilIdle();
  // The end of the user's side: makes Sends return and waits for them and for a running delivery,
  // but for one on the calling thread. Tells the server. Once, after StartDelivery.
  void Destroy();

 private:
  void Run();
  void QueueEndLocked(std::string text);
  void SilenceLocked();
  std::optional<uint32_t> ResultWithoutSendingLocked(bool is_stop);
  std::optional<uint32_t> WaitForCreditLocked(Lock& lock, size_t bytes);
  void LoseLocked(const char* reason);

  const std::string id_;
  const std::shared_ptr<link::Outbox> outbox_;
  const StreamLimits limits_;
  std::thread thread_;  // Of StartDelivery and Destroy only.

  Mutex mutex_;
  Condition changed_;
  IMessageHandler* handler_ = nullptr;  // Not owned.
  std::deque<std::string> inbox_;
  size_t inbox_bytes_ = 0;
  size_t under_way_ = 0;  // bytes of content without credit yet
  uint64_t credits_ = 0;  // counts the messages that gave credit
  int senders_ = 0;       // threads in Send
  bool connected_;
  bool begun_ = false;
  bool delivering_ = false;
  bool silenced_ = false;  // nothing more is taken in
  bool ending_ = false;    // a message that ends the stream was taken in
  bool end_delivered_ = false;
  bool end_yielded_ = false;
  bool stop_sent_ = false;   // the user's own "streamStop"
  bool discarding_ = false;  // CloseIntake, LeaveEndToUser
  bool overrun_ = false;     // ended for what had piled up
  bool lost_ = false;        // no progress for too long
  bool destroyed_ = false;
};

}  // namespace host::connector
