#include "host/messaging/hub.h"

#include <utility>

#include "host/messaging/node.h"
#include "host/messaging/pipe_access.h"
#include "module/frame/log.h"

namespace host::channels {

namespace {

constexpr uint32_t kHelloLimit = 10000;  // Milliseconds.
constexpr size_t kEntriesPerMember = 4096;
constexpr size_t kWaitingLimit = 16 * 1024 * 1024;  // Bytes; who is slower starts anew.

}  // namespace

Hub::Hub(std::set<std::string, std::less<>> worker_channels, UserRules users)
    : worker_channels_(std::move(worker_channels)),
      users_(std::move(users)),
      server_(HubPipeName(), Door::kAgent, L"Messaging hub", kHubFrameLimit,
              [this](const std::shared_ptr<ServedPipe>& client) { Serve(client); }) {
  if (users_.empty()) return;
  users_server_ = std::make_unique<PipeServer>(
      HubPipeName(Door::kUsers), Door::kUsers, L"Messaging users", kUserHubFrameLimit,
      [this](const std::shared_ptr<ServedPipe>& client) { Serve(client); });
}

uint32_t Hub::Start() {
  const uint32_t status = server_.Start();
  return status != 0 || users_server_ == nullptr ? status : users_server_->Start();
}

void Hub::Stop() {
  if (users_server_ != nullptr) users_server_->Stop();
  server_.Stop();
}

void Hub::Serve(const std::shared_ptr<ServedPipe>& client) {
  constexpr const wchar_t* kFunction = L"host::channels::Hub::Serve";
  NodeKey node;
  if (!Welcome(client, node)) {
    if (client->user) return;
    ORN_LOG(logging::kWarning, kFunction, L"Process %u does not introduce itself properly.",
            client->pid);
    return;
  }
  Frame frame;
  for (;;) {
    const PipeStream::Event event = client->stream.Next(frame, INFINITE);
    if (event == PipeStream::kWoken) continue;
    if (event != PipeStream::kFrame || !Handle(node, frame)) break;
    client->HoldBack();
  }
  // A break of the pipe is a process's way to leave; all else is a fault.
  if (!client->stream.broken() || client->stream.malformed()) {
    ORN_LOG(logging::kWarning, kFunction,
            L"Process %u sent what is no message; its connection is closed.", node.pid);
  }
  const std::lock_guard lock(mutex_);
  const auto gone = members_.extract(node);
  for (const auto& [other, member] : members_)
    if (Hears(member, gone.mapped())) Write(member, EncodeNodeGone(node));
}

bool Hub::Welcome(const std::shared_ptr<ServedPipe>& client, NodeKey& node) {
  Frame frame;
  if (client->stream.Next(frame, kHelloLimit) != PipeStream::kFrame ||
      frame.kind != FrameKind::kHello) {
    return false;
  }
  const std::optional<uint64_t> number = DecodeHello(frame.payload);
  if (!number || !client->IsGenuine() ||
      client->stream.Next(frame, kHelloLimit) != PipeStream::kFrame ||
      frame.kind != FrameKind::kPresent) {
    return false;
  }
  std::optional<std::string> suffix = DecodePresent(frame.payload);
  if (!suffix) return false;
  node = {client->pid, *number};
  Member member{
      .client = client,
      .pipe_suffix = std::move(*suffix),
      .users_suffix = {},
      .administrator = !client->user && IsAdministratorProcess(client->pid, client->connected),
      .refused = false,
      .entries = {}};
  const std::lock_guard lock(mutex_);
  for (const auto& [other, known] : members_)
    for (const auto& [key, entry] : known.entries)
      Tell(member, FrameKind::kEntryAdded, other, known, entry);
  return members_.try_emplace(node, std::move(member)).second;
}

bool Hub::Handle(const NodeKey& node, const Frame& frame) {
  if (frame.kind == FrameKind::kUsersDoor) {
    std::optional<std::string> suffix = DecodePresent(frame.payload);
    const std::lock_guard lock(mutex_);
    Member& member = members_.at(node);
    // Nobody is told of it but with an entry.
    if (!suffix || !member.entries.empty() || member.client->user) return false;
    if (member.administrator) member.users_suffix = std::move(*suffix);
    return true;
  }
  if (frame.kind != FrameKind::kAddEntry && frame.kind != FrameKind::kRemoveEntry) return false;
  std::optional<messaging::channel_subscriber> entry = DecodeEntry(frame.payload);
  if (!entry) return false;
  const std::lock_guard lock(mutex_);
  return HandleEntryLocked(node, members_.at(node), frame.kind, std::move(*entry));
}

bool Hub::HandleEntryLocked(const NodeKey& node, Member& member, FrameKind kind,
                            messaging::channel_subscriber entry) {
  if (kind == FrameKind::kRemoveEntry) {
    const auto removed = member.entries.extract({entry.channel, entry.id});
    if (!removed.empty()) {
      TellOthersLocked(FrameKind::kEntryRemoved, node, member, removed.mapped());
    }
    return true;
  }
  if (!MayAnnounce(member, entry)) {
    if (!std::exchange(member.refused, true)) {
      ORN_LOG(logging::kWarning, L"host::channels::Hub",
              L"Process %u may not announce [%S] on [%S].", node.pid, entry.id.c_str(),
              entry.channel.c_str());
    }
    return true;
  }
  if (member.entries.size() >= (member.client->user ? kUserEntries : kEntriesPerMember)) {
    return false;
  }
  entry.pid = static_cast<int32_t>(node.pid);
  TellOthersLocked(FrameKind::kEntryAdded, node, member, entry);
  member.entries.insert_or_assign({entry.channel, entry.id}, std::move(entry));
  return true;
}

bool Hub::MayAnnounce(const Member& member, const messaging::channel_subscriber& entry) const {
  if (member.client->user) return users_.Admits(entry);
  if (member.administrator || worker_channels_.contains(entry.channel)) return true;
  // Only what is written as the remote calls write it is surely no server to anybody.
  const auto type = entry.properties.find("rpc_subscriber_type");
  return type != entry.properties.end() && (type->second == "0" || type->second == "1");
}

bool Hub::Hears(const Member& listener, const Member& teller) {
  if (listener.client->user) return !teller.users_suffix.empty();
  return listener.administrator || !teller.client->user;
}

bool Hub::Hears(const Member& listener, const Member& teller,
                const messaging::channel_subscriber& entry) const {
  return Hears(listener, teller) &&
         (!listener.client->user || (IsServer(entry) && users_.Admits(entry.channel)));
}

void Hub::Tell(const Member& listener, FrameKind kind, const NodeKey& node, const Member& teller,
               const messaging::channel_subscriber& entry) const {
  if (!Hears(listener, teller, entry)) return;
  if (kind == FrameKind::kEntryAdded && teller.client->user) kind = FrameKind::kUserEntryAdded;
  Write(listener,
        EncodeRemoteEntry(
            kind, {.node = node,
                   .pipe_suffix = listener.client->user ? teller.users_suffix : teller.pipe_suffix,
                   .entry = entry}));
}

void Hub::TellOthersLocked(FrameKind kind, const NodeKey& node, const Member& teller,
                           const messaging::channel_subscriber& entry) const {
  for (const auto& [other, member] : members_)
    if (other != node) Tell(member, kind, node, teller, entry);
}

void Hub::Write(const Member& listener, std::string frame) {
  const size_t limit = listener.client->user ? kUserWaitingLimit : kWaitingLimit;
  if (listener.client->stream.Write(std::move(frame), limit) == PipeStream::kFull) {
    listener.client->stream.Break();
  }
}

}  // namespace host::channels
