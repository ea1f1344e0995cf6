// The node's side of the hub.

#include <algorithm>
#include <utility>

#include "host/messaging/node.h"
#include "host/messaging/pipe_access.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::channels {

namespace {

constexpr size_t kHubLimit = 16 * 1024 * 1024;  // Bytes that may wait for the hub.
// Milliseconds from try to try.
constexpr uint32_t kFirstPause = 10;
constexpr uint32_t kLongestPause = 250;
// A user's program may be there for days without the agent.
constexpr uint32_t kLongestUserPause = 1000;

}  // namespace

orn::UniqueFile Node::OpenHub(bool tell) const {
  orn::UniqueFile pipe;
  if (!settings_.is_users) pipe = OpenPipe(HubPipeName());
  // Who may not go by the agent's own door is a user.
  if (settings_.is_users || (!pipe && GetLastError() == ERROR_ACCESS_DENIED)) {
    pipe = OpenPipe(HubPipeName(Door::kUsers));
  }
  if (!pipe || IsTrustworthyOwner(pipe.get())) return pipe;
  if (tell) {
    ORN_LOG(logging::kWarning, L"host::channels::Node::RunHub",
            L"The hub's pipe is held by process %u, which is no hub.", ServerOf(pipe.get()));
  }
  return {};
}

void Node::RunHub() {
  orn::SetThreadName(L"Messaging hub link");
  uint32_t pause = kFirstPause;
  for (;;) {
    orn::UniqueFile pipe = OpenHub(/*tell=*/pause == kFirstPause);
    if (pipe) {
      pause = kFirstPause;
      const auto hub = std::make_shared<PipeStream>(kHubFrameLimit);
      hub->Write(EncodeHello(self_.number), kHubLimit);
      hub->Write(EncodePresent(pipe_suffix_), kHubLimit);
      if (users_server_ != nullptr) hub->Write(EncodeUsersDoor(users_suffix_), kHubLimit);
      {
        const std::lock_guard lock(mutex_);
        if (stopping_) return;
        hub_ = hub;
        for (const Gateway* const gateway : gateways_)
          for (const auto& [key, entry] : gateway->entries)
            TellHubLocked(EncodeEntry(FrameKind::kAddEntry, entry));
      }
      hub->Attach(std::move(pipe));
      // Who died with or after the last hub is gone by now.
      DropDeadPeers();
      ListenToHub(*hub);
      ForgetEntries();
      DropDeadPeers();
    }
    if (WaitForSingleObject(stop_.get(), pause) == WAIT_OBJECT_0) return;
    pause = std::min(2 * pause, settings_.is_users ? kLongestUserPause : kLongestPause);
  }
}

void Node::ListenToHub(PipeStream& hub) {
  Frame frame;
  for (;;) {
    switch (hub.Next(frame, INFINITE)) {
      case PipeStream::kFrame:
        if (HandleHub(frame)) break;
        ORN_LOG(logging::kWarning, L"host::channels::Node::ListenToHub",
                L"The hub sent what is no message.");
        hub.Break();
        break;
      case PipeStream::kWoken:
      case PipeStream::kTimeout:
        break;
      case PipeStream::kBroken:
        return;
    }
  }
}

bool Node::HandleHub(const Frame& frame) {
  if (frame.kind == FrameKind::kNodeGone) {
    const std::optional<NodeKey> node = DecodeNodeGone(frame.payload);
    if (node) RemovePeer(*node);
    return node.has_value();
  }
  const bool added =
      frame.kind == FrameKind::kEntryAdded || frame.kind == FrameKind::kUserEntryAdded;
  if (!added && frame.kind != FrameKind::kEntryRemoved) return false;
  const std::optional<RemoteEntry> entry = DecodeRemoteEntry(frame.payload);
  if (!entry) return false;
  if (added) {
    AddRemote(*entry, frame.kind == FrameKind::kUserEntryAdded);
  } else {
    RemoveRemote(*entry);
  }
  return true;
}

void Node::AddRemote(const RemoteEntry& entry, bool user) {
  const std::lock_guard lock(mutex_);
  Peer& peer = peers_[entry.node];
  peer.pipe_suffix = entry.pipe_suffix;
  peer.user = user;
  const auto [place, added] =
      peer.entries.try_emplace({entry.entry.channel, entry.entry.id}, entry.entry);
  if (!added) {
    TellLocked(/*added=*/false, place->second);
    place->second = entry.entry;
  }
  TellLocked(/*added=*/true, entry.entry);
  entries_changed_.notify_all();
}

void Node::RemoveRemote(const RemoteEntry& entry) {
  const std::lock_guard lock(mutex_);
  const auto peer = peers_.find(entry.node);
  if (peer == peers_.end()) return;
  const auto node = peer->second.entries.extract({entry.entry.channel, entry.entry.id});
  if (!node.empty()) TellLocked(/*added=*/false, node.mapped());
}

void Node::RemovePeer(const NodeKey& node) {
  std::shared_ptr<PeerLink> link;  // Ends with no lock held.
  {
    const std::lock_guard lock(mutex_);
    const auto peer = peers_.extract(node);
    if (peer.empty()) return;
    for (const auto& [key, entry] : peer.mapped().entries)
      TellLocked(/*added=*/false, entry);
    link = std::move(peer.mapped().link);
  }
  if (link != nullptr) link->Finish();
}

void Node::ForgetEntries() {
  const std::lock_guard lock(mutex_);
  hub_.reset();
  for (auto& [node, peer] : peers_) {
    for (const auto& [key, entry] : peer.entries)
      TellLocked(/*added=*/false, entry);
    peer.entries.clear();
  }
}

void Node::DropDeadPeers() {
  std::vector<std::shared_ptr<PeerLink>> dead;  // They end with no lock held.
  const std::lock_guard lock(mutex_);
  for (auto it = peers_.begin(); it != peers_.end();) {
    std::shared_ptr<PeerLink>& link = it->second.link;
    if (link != nullptr) link->Probe();
    const bool is_dead = it->second.entries.empty() && (link == nullptr || link->broken());
    if (is_dead) dead.push_back(std::move(link));
    it = is_dead ? peers_.erase(it) : std::next(it);
  }
}

void Node::TellLocked(bool added, const messaging::channel_subscriber& entry) {
  for (Gateway* const gateway : gateways_)
    gateway->Tell(added, entry);
}

void Node::TellHubLocked(std::string frame) {
  if (hub_ == nullptr || frame.empty()) return;
  // A hub that does not keep up gets everything anew.
  if (hub_->Write(std::move(frame), kHubLimit) == PipeStream::kFull) hub_->Break();
}

}  // namespace host::channels
