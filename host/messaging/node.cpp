#include "host/messaging/node.h"

#include <algorithm>
#include <utility>

#include "host/messaging/pipe_access.h"
#include "host/messaging/served_calls.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::channels {

namespace {

// Types of messages, and what leads events to their receiver.
constexpr int32_t kOneWayCall = 17;
constexpr int32_t kCall = 18;
constexpr int32_t kOneWayEvent = 19;
constexpr int32_t kEvent = 20;
constexpr const char* kReceiverProcess = "rpc_subscriber_pid";
constexpr const char* kCaller = "rpc_client_id";

constexpr std::chrono::seconds kEntryPatience{1};
constexpr uint32_t kHelloLimit = 10000;  // Milliseconds.

bool IsCall(int32_t type) {
  return type == kOneWayCall || type == kCall;
}

bool IsEvent(int32_t type) {
  return type == kOneWayEvent || type == kEvent;
}

// The answer of a receiver in this process.
class LocalReply final : public ReplyTarget {
 public:
  explicit LocalReply(std::shared_ptr<PendingCall> call) : call_(std::move(call)) {
    call_->AddTarget();
  }
  ~LocalReply() override { call_->DropTarget(); }
  void Reply(const MessageContent& answer) override { call_->Answer(answer); }

 private:
  const std::shared_ptr<PendingCall> call_;
};

}  // namespace

bool IsServer(const messaging::channel_subscriber& entry) {
  const auto type = entry.properties.find("rpc_subscriber_type");
  return type != entry.properties.end() && type->second == "2";
}

namespace {

struct Shared {
  std::mutex mutex;
  // Guarded by mutex.
  std::weak_ptr<Node> node;
  NodeSettings settings;
};

// Never destroyed: a process that ends does not wait for its threads.
Shared& TheShared() {
  static auto* const shared = new Shared;
  return *shared;
}

}  // namespace

void Node::SetUp(NodeSettings settings) {
  Shared& shared = TheShared();
  const std::lock_guard lock(shared.mutex);
  shared.settings = std::move(settings);
}

std::shared_ptr<Node> Node::Get() {
  Shared& shared = TheShared();
  const std::lock_guard lock(shared.mutex);
  std::shared_ptr<Node> node = shared.node.lock();
  if (node != nullptr) return node;
  node = std::make_shared<Node>(shared.settings);
  if (const uint32_t status = node->Start(); status != 0) {
    ORN_LOG(logging::kError, L"host::channels::Node", L"No pipe of its own. Error: %u.", status);
    return nullptr;
  }
  shared.node = node;
  return node;
}

Node::Node(NodeSettings settings)
    : self_{GetCurrentProcessId(), RandomNumber()},
      settings_(std::move(settings)),
      pipe_suffix_(RandomSuffix()),
      users_suffix_(RandomSuffix()),
      stop_(CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, nullptr)),
      server_(NodePipeName(self_.pid, pipe_suffix_), Door::kAgent, L"Messaging receiver",
              kFrameLimit,
              [this](const std::shared_ptr<ServedPipe>& client) { ServePeer(client); }) {
  if (settings_.users.empty()) return;
  users_server_ = std::make_unique<PipeServer>(
      NodePipeName(self_.pid, users_suffix_), Door::kUsers, L"Messaging users", kUserFrameLimit,
      [this](const std::shared_ptr<ServedPipe>& client) { ServePeer(client); });
}

Node::~Node() {
  SetEvent(stop_.get());
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    entries_changed_.notify_all();
    if (hub_ != nullptr) hub_->Break();
  }
  if (hub_thread_.joinable()) hub_thread_.join();
  if (users_server_ != nullptr) users_server_->Stop();
  server_.Stop();
}

uint32_t Node::Start() {
  uint32_t status = server_.Start();
  if (status == 0 && users_server_ != nullptr) status = users_server_->Start();
  if (status == 0) hub_thread_ = std::thread(&Node::RunHub, this);
  return status;
}

void Node::Add(Gateway& gateway) {
  const std::lock_guard lock(mutex_);
  gateways_.push_back(&gateway);
}

void Node::Remove(Gateway& gateway) {
  const std::lock_guard lock(mutex_);
  for (const auto& [key, entry] : gateway.entries) {
    TellHubLocked(EncodeEntry(FrameKind::kRemoveEntry, entry));
    TellLocked(/*added=*/false, entry);
  }
  gateway.entries.clear();
  std::erase(gateways_, &gateway);
}

void Node::AddEntry(Gateway& gateway, messaging::channel_subscriber entry) {
  entry.pid = static_cast<int32_t>(self_.pid);
  std::string frame = EncodeEntry(FrameKind::kAddEntry, entry);
  if (frame.empty() || !DecodeEntry(std::string_view(frame).substr(5))) {
    ORN_LOG(logging::kError, L"host::channels::Node", L"An entry on [%S] cannot be announced.",
            entry.channel.c_str());
    return;
  }
  const std::lock_guard lock(mutex_);
  // The gateway may have ended meanwhile, and nobody would take the entry back.
  if (std::ranges::find(gateways_, &gateway) == gateways_.end()) return;
  const Gateway::EntryKey key(entry.channel, entry.id);
  const auto [place, added] = gateway.entries.try_emplace(key, entry);
  if (!added) {
    TellLocked(/*added=*/false, place->second);
    place->second = entry;
  }
  TellHubLocked(std::move(frame));
  TellLocked(/*added=*/true, entry);
}

void Node::RemoveEntry(Gateway& gateway, const messaging::channel_subscriber& entry) {
  const std::lock_guard lock(mutex_);
  const auto node = gateway.entries.extract({entry.channel, entry.id});
  if (node.empty()) return;
  TellHubLocked(EncodeEntry(FrameKind::kRemoveEntry, node.mapped()));
  TellLocked(/*added=*/false, node.mapped());
}

void Node::Observe(Gateway& gateway, const std::function<bool()>& add,
                   messaging::channel_observer* observer) {
  const std::lock_guard lock(mutex_);
  if (!add()) return;
  for (const Gateway* const other : gateways_)
    for (const auto& [key, entry] : other->entries)
      gateway.Tell(/*added=*/true, entry, observer);
  for (const auto& [node, peer] : peers_)
    for (const auto& [key, entry] : peer.entries)
      gateway.Tell(/*added=*/true, entry, observer);
}

uint32_t Node::NextCallId() {
  uint32_t id = 0;
  while (id == 0)
    id = ++next_call_;
  return id;
}

Node::Route Node::FindRoute(Gateway& sender, const std::string& channel,
                            const MessageContent& content) {
  Route route;
  const std::lock_guard lock(mutex_);
  if (IsCall(content.type)) {
    for (Gateway* const gateway : gateways_)
      if (gateway != &sender && gateway->ServesLocked(channel)) route.local.push_back(gateway);
    for (const auto& [node, peer] : peers_) {
      const bool serves = std::ranges::any_of(peer.entries, [&](const auto& item) {
        return item.first.first == channel && IsServer(item.second);
      });
      if (serves) route.remote.push_back(node);
    }
  } else if (IsEvent(content.type)) {
    const MessageField* const pid = content.Find(kReceiverProcess, messaging::message::kInt);
    if (pid == nullptr) return route;
    if (static_cast<uint32_t>(pid->number) == self_.pid) {
      std::ranges::copy_if(gateways_, std::back_inserter(route.local),
                           [&](const Gateway* gateway) { return gateway != &sender; });
    }
    for (const auto& [node, peer] : peers_) {
      const bool listens = node.pid == static_cast<uint32_t>(pid->number) &&
                           std::ranges::any_of(peer.entries, [&](const auto& item) {
                             return item.first.first == channel;
                           });
      if (listens) route.remote.push_back(node);
    }
  }
  return route;
}

std::shared_ptr<PeerLink> Node::LinkTo(const NodeKey& peer) {
  std::shared_ptr<PeerLink> broken;  // Ends with no lock held.
  const std::lock_guard lock(mutex_);
  const auto found = peers_.find(peer);
  if (found == peers_.end()) return nullptr;
  std::shared_ptr<PeerLink>& link = found->second.link;
  if (link == nullptr || link->broken()) {
    broken.swap(link);
    link = std::make_shared<PeerLink>(peer, NodePipeName(peer.pid, found->second.pipe_suffix),
                                      self_.number, found->second.user);
  }
  return link;
}

void Node::DeliverHere(const std::vector<Gateway*>& gateways, std::string_view channel,
                       Message* message) {
  for (Gateway* const gateway : gateways)
    gateway->Receive(channel, message);
  message->release();
}

uint32_t Node::Post(Gateway& sender, const std::string& channel,
                    const std::shared_ptr<MessageContent>& content) {
  const Route route = FindRoute(sender, channel, *content);
  if (route.local.empty() && route.remote.empty()) return error::kNotConnected;
  uint32_t status = 0;
  if (!route.remote.empty()) {
    const std::string frame = EncodeDelivery(0, channel, *content);
    if (frame.empty()) return error::kSizeLimit;
    for (const NodeKey& peer : route.remote) {
      uint32_t result = error::kNotConnected;
      // A connection may turn out to be broken only when it is used.
      for (int i = 0; i < 2 && result == error::kNotConnected; ++i) {
        const std::shared_ptr<PeerLink> link = LinkTo(peer);
        if (link != nullptr) result = link->Post(frame);
      }
      if (status == 0) status = result;
    }
  }
  if (!route.local.empty()) {
    DeliverHere(route.local, channel, new Message(content, /*sender=*/0, /*target=*/nullptr));
  }
  return status;
}

uint32_t Node::Send(Gateway& sender, const std::string& channel,
                    const std::shared_ptr<MessageContent>& content,
                    const std::shared_ptr<PendingCall>& call, const Deadline& deadline) {
  const Route route = FindRoute(sender, channel, *content);
  uint32_t status = 0;
  std::vector<std::shared_ptr<PeerLink>> links;
  if (!route.remote.empty()) {
    const std::string frame = EncodeDelivery(call->id(), channel, *content);
    if (frame.empty()) return error::kSizeLimit;
    const bool alone = route.local.empty() && route.remote.size() == 1;
    for (const NodeKey& peer : route.remote) {
      uint32_t result = error::kNotConnected;
      for (int i = 0; i < 2 && result == error::kNotConnected; ++i) {
        std::shared_ptr<PeerLink> link = LinkTo(peer);
        if (link == nullptr) break;
        result = link->Call(frame, call, /*driven=*/alone);
        if (result == 0) links.push_back(std::move(link));
      }
      if (status == 0) status = result;
    }
    if (alone && !links.empty()) {
      call->DropTarget();
      links.front()->Drive(*call, deadline);
      links.front()->Forget(*call);
      return 0;
    }
  }
  if (!route.local.empty()) {
    DeliverHere(route.local, channel,
                new Message(content, /*sender=*/0, std::make_shared<LocalReply>(call)));
    status = 0;
  }
  call->DropTarget();
  while (!call->done() && deadline.Left() > 0)
    call->Wait(deadline.Left());
  for (const std::shared_ptr<PeerLink>& link : links)
    link->Forget(*call);
  return links.empty() ? status : 0;
}

void Node::ServePeer(const std::shared_ptr<ServedPipe>& client) {
  constexpr const wchar_t* kFunction = L"host::channels::Node::ServePeer";
  Frame frame;
  std::optional<uint64_t> number;
  if (client->stream.Next(frame, kHelloLimit) == PipeStream::kFrame &&
      frame.kind == FrameKind::kHello) {
    number = DecodeHello(frame.payload);
  }
  if (!number || !client->IsGenuine()) {
    if (client->user) return;
    ORN_LOG(logging::kWarning, kFunction, L"Process %u does not introduce itself properly.",
            client->pid);
    return;
  }
  const NodeKey peer{client->pid, *number};
  const uint32_t sender = peer.pid == self_.pid ? 0 : peer.pid;
  const auto calls = std::make_shared<ServedCalls>(client);
  for (;;) {
    const PipeStream::Event event = client->stream.Next(frame, INFINITE, calls->MayRead());
    if (event == PipeStream::kWoken) continue;
    if (event != PipeStream::kFrame) break;
    std::optional<Delivery> delivery;
    if (frame.kind == FrameKind::kCall || frame.kind == FrameKind::kPost) {
      delivery = DecodeDelivery(frame);
    }
    if (!delivery || (client->user && !Admits(*delivery))) {
      ORN_LOG(logging::kWarning, kFunction,
              L"Process %u sent what is no message; its connection is closed.", peer.pid);
      return;
    }
    const std::vector<Gateway*> receivers = Receivers(peer, *delivery, client->user);
    // Where nobody takes it, its end tells the sender so.
    const auto target = calls->Take(delivery->id, frame.payload.size());
    DeliverHere(receivers, delivery->channel,
                new Message(std::make_shared<MessageContent>(std::move(delivery->content)), sender,
                            target));
    client->HoldBack();
  }
  if (client->stream.malformed()) {
    ORN_LOG(logging::kWarning, kFunction,
            L"Process %u sent what is no frame; its connection is closed.", peer.pid);
  }
}

std::vector<Gateway*> Node::Receivers(const NodeKey& peer, const Delivery& delivery, bool user) {
  std::vector<Gateway*> receivers;
  const bool is_call = IsCall(delivery.content.type);
  if (!is_call && !(IsEvent(delivery.content.type) && AwaitEntry(peer, delivery.channel, IsServer)))
    return receivers;
  // A server makes an object for each client, and holds all others back while it does. A user has
  // as many as the hub lets him announce.
  if (user) {
    const MessageField* const id = delivery.content.Find(kCaller, messaging::message::kString);
    if (id == nullptr || !AwaitEntry(peer, delivery.channel, [&](const auto& entry) {
          const auto client = entry.properties.find(kCaller);
          return client != entry.properties.end() && client->second == id->bytes;
        })) {
      return receivers;
    }
  }
  const std::lock_guard lock(mutex_);
  for (Gateway* const gateway : gateways_)
    if (!is_call || gateway->ServesLocked(delivery.channel)) receivers.push_back(gateway);
  return receivers;
}

bool Node::Admits(const Delivery& delivery) const {
  return IsCall(delivery.content.type) && settings_.users.Admits(delivery.channel);
}

bool Node::AwaitEntry(const NodeKey& peer, std::string_view channel,
                      const std::function<bool(const messaging::channel_subscriber&)>& is_wanted) {
  std::unique_lock lock(mutex_);
  const auto is_there = [&] {
    const auto found = peers_.find(peer);
    return found != peers_.end() && std::ranges::any_of(found->second.entries, [&](const auto& it) {
             return it.first.first == channel && is_wanted(it.second);
           });
  };
  return entries_changed_.wait_for(lock, kEntryPatience, [&] { return stopping_ || is_there(); }) &&
         is_there();
}

}  // namespace host::channels
