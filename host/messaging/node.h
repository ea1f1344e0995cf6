#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/messaging/gateway.h"
#include "host/messaging/message_codec.h"
#include "host/messaging/peer_link.h"
#include "host/messaging/pipe_server.h"
#include "host/messaging/user_access.h"

namespace host::channels {

// What a process's node is made with.
struct NodeSettings {
  // Whom it has a pipe for beside the agent's own processes; none where that is empty.
  UserRules users;
  // It goes by the users' door only, even where it could go by another: a process of a user's.
  bool is_users = false;
};

// "rpc_subscriber_type" of a server.
bool IsServer(const messaging::channel_subscriber& entry);

// What this process is to the others: its pipe, its connection to the hub, what the hub tells of
// the others, and the connections to them. All gateways of the process share one, which lives as
// long as any of them.
class Node {
 public:
  // The process's own; a new one where there is none. Null where the pipe cannot be had.
  static std::shared_ptr<Node> Get();
  // For nodes that are made later.
  static void SetUp(NodeSettings settings);

  explicit Node(NodeSettings settings);
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  // Ends all connections, and so this process's presence.
  ~Node();

  void Add(Gateway& gateway);
  // Takes its entries back too.
  void Remove(Gateway& gateway);
  void AddEntry(Gateway& gateway, messaging::channel_subscriber entry);
  void RemoveEntry(Gateway& gateway, const messaging::channel_subscriber& entry);
  // Where `add` has added the observer, queues all entries that are there for it; no change falls
  // between.
  void Observe(Gateway& gateway, const std::function<bool()>& add,
               messaging::channel_observer* observer);

  uint32_t NextCallId();
  // As the channel's operations. Send returns when the call is done, at the deadline, or with a
  // failure.
  uint32_t Post(Gateway& sender, const std::string& channel,
                const std::shared_ptr<MessageContent>& content);
  uint32_t Send(Gateway& sender, const std::string& channel,
                const std::shared_ptr<MessageContent>& content,
                const std::shared_ptr<PendingCall>& call, const Deadline& deadline);

 private:
  struct Peer {
    std::string pipe_suffix;
    bool user = false;  // It came to the hub by the users' door.
    std::map<Gateway::EntryKey, messaging::channel_subscriber> entries;
    std::shared_ptr<PeerLink> link;  // Null until it is needed, and while nothing is known of it.
  };
  // Who gets a message.
  struct Route {
    std::vector<Gateway*> local;
    std::vector<NodeKey> remote;
  };

  uint32_t Start();
  Route FindRoute(Gateway& sender, const std::string& channel, const MessageContent& content);
  // The working connection to that process; null where it has gone.
  std::shared_ptr<PeerLink> LinkTo(const NodeKey& peer);
  void DeliverHere(const std::vector<Gateway*>& gateways, std::string_view channel,
                   Message* message);

  // A connection from another process, on its own thread.
  void ServePeer(const std::shared_ptr<ServedPipe>& client);
  // Whether that process has such an entry on the channel; waits a moment for the hub's word, which
  // may be slower than the process's own.
  bool AwaitEntry(const NodeKey& peer, std::string_view channel,
                  const std::function<bool(const messaging::channel_subscriber&)>& is_wanted);
  std::vector<Gateway*> Receivers(const NodeKey& peer, const Delivery& delivery, bool user);
  // Whether a user may send that.
  bool Admits(const Delivery& delivery) const;

  // The hub's thread.
  void RunHub();
  // The hub's pipe; empty where there is none, or nobody who is to be believed has it.
  orn::UniqueFile OpenHub(bool tell) const;
  void ListenToHub(PipeStream& hub);
  bool HandleHub(const Frame& frame);
  void AddRemote(const RemoteEntry& entry, bool user);
  void RemoveRemote(const RemoteEntry& entry);
  void RemovePeer(const NodeKey& node);
  // The hub has gone: nothing is known of the others any more. Connections that work stay.
  void ForgetEntries();
  // Takes out the peers that are nothing but connections that have ended.
  void DropDeadPeers();
  void TellLocked(bool added, const messaging::channel_subscriber& entry);
  void TellHubLocked(std::string frame);

  // Fixed after Start.
  const NodeKey self_;
  const NodeSettings settings_;
  const std::string pipe_suffix_;
  const std::string users_suffix_;
  const orn::UniqueHandle stop_;
  PipeServer server_;
  std::unique_ptr<PipeServer> users_server_;  // Null where there is no pipe for users.
  std::thread hub_thread_;

  std::atomic<uint32_t> next_call_{0};

  std::mutex mutex_;
  std::condition_variable entries_changed_;
  // Guarded by mutex_.
  std::vector<Gateway*> gateways_;
  std::map<NodeKey, Peer> peers_;
  std::shared_ptr<PipeStream> hub_;  // Null while there is none.
  bool stopping_ = false;
};

}  // namespace host::channels
