#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "host/messaging/message_codec.h"
#include "host/messaging/pipe_server.h"

namespace host::channels {

// Knows who is there: every process of the agent connects to it, tells its entries, and hears of
// those of the others. A process's entries end with its connection. Messages do not pass here.
class Hub {
 public:
  // Channels on which a process without administrator rights may announce a server.
  explicit Hub(std::set<std::string, std::less<>> worker_channels);
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  // Returns 0, or why the hub's name cannot be had.
  uint32_t Start();
  void Stop() { server_.Stop(); }

 private:
  using EntryKey = std::pair<std::string, std::string>;  // Channel and id.
  struct Member {
    std::shared_ptr<ServedPipe> client;
    std::string pipe_suffix;
    bool administrator = false;
    std::map<EntryKey, messaging::channel_subscriber> entries;
  };

  void Serve(const std::shared_ptr<ServedPipe>& client);
  // The member's name and itself; nothing where it did not introduce itself properly.
  bool Welcome(const std::shared_ptr<ServedPipe>& client, NodeKey& node);
  bool Handle(const NodeKey& node, const Frame& frame);
  bool AddEntryLocked(const NodeKey& node, Member& member, messaging::channel_subscriber entry);
  void TellOthersLocked(const NodeKey& node, const std::string& frame);

  const std::set<std::string, std::less<>> worker_channels_;

  std::mutex mutex_;
  std::map<NodeKey, Member> members_;  // Guarded by mutex_.

  PipeServer server_;
};

}  // namespace host::channels
