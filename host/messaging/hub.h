#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "host/messaging/message_codec.h"
#include "host/messaging/pipe_server.h"
#include "host/messaging/user_access.h"

namespace host::channels {

// Knows who is there: every process of the agent connects to it, tells its entries, and hears of
// those of the others. A process's entries end with its connection. Messages do not pass here.
//
// A user's process, by the users' door, announces what the rules for users admit, to the agent's
// administrators alone, and hears of nothing but their servers that have a door for users.
class Hub {
 public:
  // `worker_channels` are those on which a process without administrator rights may announce a
  // server; there is a users' door unless `users` is empty.
  Hub(std::set<std::string, std::less<>> worker_channels, UserRules users);
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  // Returns 0, or why the hub's name cannot be had.
  uint32_t Start();
  void Stop();

 private:
  using EntryKey = std::pair<std::string, std::string>;  // Channel and id.
  struct Member {
    std::shared_ptr<ServedPipe> client;
    std::string pipe_suffix;
    std::string users_suffix;  // Of its pipe for users; empty where it has none.
    bool administrator = false;
    bool refused = false;  // An entry was, and the log has it.
    std::map<EntryKey, messaging::channel_subscriber> entries;
  };

  void Serve(const std::shared_ptr<ServedPipe>& client);
  // The member's name and itself; nothing where it did not introduce itself properly.
  bool Welcome(const std::shared_ptr<ServedPipe>& client, NodeKey& node);
  bool Handle(const NodeKey& node, const Frame& frame);
  bool HandleEntryLocked(const NodeKey& node, Member& member, FrameKind kind,
                         messaging::channel_subscriber entry);
  bool MayAnnounce(const Member& member, const messaging::channel_subscriber& entry) const;
  // Whether `listener` is to know of `teller`, and of that entry of his.
  static bool Hears(const Member& listener, const Member& teller);
  bool Hears(const Member& listener, const Member& teller,
             const messaging::channel_subscriber& entry) const;
  void Tell(const Member& listener, FrameKind kind, const NodeKey& node, const Member& teller,
            const messaging::channel_subscriber& entry) const;
  void TellOthersLocked(FrameKind kind, const NodeKey& node, const Member& teller,
                        const messaging::channel_subscriber& entry) const;
  static void Write(const Member& listener, std::string frame);

  const std::set<std::string, std::less<>> worker_channels_;
  const UserRules users_;

  std::mutex mutex_;
  std::map<NodeKey, Member> members_;  // Guarded by mutex_.

  PipeServer server_;
  std::unique_ptr<PipeServer> users_server_;  // Null where there is no door for users.
};

}  // namespace host::channels
