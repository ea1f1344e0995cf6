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

Hub::Hub(std::set<std::string, std::less<>> worker_channels)
    : worker_channels_(std::move(worker_channels)),
      server_(HubPipeName(), L"Messaging hub", kHubFrameLimit,
              [this](const std::shared_ptr<ServedPipe>& client) { Serve(client); }) {}

uint32_t Hub::Start() {
  return server_.Start();
}

void Hub::Serve(const std::shared_ptr<ServedPipe>& client) {
  constexpr const wchar_t* kFunction = L"host::channels::Hub::Serve";
  NodeKey node;
  if (!Welcome(client, node)) {
    ORN_LOG(logging::kWarning, kFunction, L"Process %u does not introduce itself properly.",
            client->pid);
    return;
  }
  Frame frame;
  for (;;) {
    const PipeStream::Event event = client->stream.Next(frame, INFINITE);
    if (event == PipeStream::kWoken) continue;
    if (event != PipeStream::kFrame || !Handle(node, frame)) break;
  }
  // A break of the pipe is a process's way to leave; all else is a fault.
  if (!client->stream.broken() || client->stream.malformed()) {
    ORN_LOG(logging::kWarning, kFunction,
            L"Process %u sent what is no message; its connection is closed.", node.pid);
  }
  const std::lock_guard lock(mutex_);
  members_.erase(node);
  TellOthersLocked(node, EncodeNodeGone(node));
}

bool Hub::Welcome(const std::shared_ptr<ServedPipe>& client, NodeKey& node) {
  Frame frame;
  if (client->stream.Next(frame, kHelloLimit) != PipeStream::kFrame ||
      frame.kind != FrameKind::kHello) {
    return false;
  }
  const std::optional<uint64_t> number = DecodeHello(frame.payload);
  if (!number || client->stream.Next(frame, kHelloLimit) != PipeStream::kFrame ||
      frame.kind != FrameKind::kPresent) {
    return false;
  }
  std::optional<std::string> suffix = DecodePresent(frame.payload);
  if (!suffix) return false;
  node = {client->pid, *number};
  Member member{
      client, std::move(*suffix), IsAdministratorProcess(client->pid, client->connected), {}};
  const std::lock_guard lock(mutex_);
  for (const auto& [other, known] : members_) {
    for (const auto& [key, entry] : known.entries) {
      client->stream.Write(
          EncodeRemoteEntry(FrameKind::kEntryAdded, {other, known.pipe_suffix, entry}),
          kWaitingLimit);
    }
  }
  return members_.try_emplace(node, std::move(member)).second;
}

bool Hub::Handle(const NodeKey& node, const Frame& frame) {
  if (frame.kind != FrameKind::kAddEntry && frame.kind != FrameKind::kRemoveEntry) return false;
  std::optional<messaging::channel_subscriber> entry = DecodeEntry(frame.payload);
  if (!entry) return false;
  const std::lock_guard lock(mutex_);
  Member& member = members_.at(node);
  if (frame.kind == FrameKind::kAddEntry) return AddEntryLocked(node, member, std::move(*entry));
  const auto removed = member.entries.extract({entry->channel, entry->id});
  if (removed.empty()) return true;
  TellOthersLocked(node, EncodeRemoteEntry(FrameKind::kEntryRemoved,
                                           {node, member.pipe_suffix, removed.mapped()}));
  return true;
}

bool Hub::AddEntryLocked(const NodeKey& node, Member& member, messaging::channel_subscriber entry) {
  if (IsServer(entry) && !member.administrator && !worker_channels_.contains(entry.channel)) {
    ORN_LOG(logging::kWarning, L"host::channels::Hub",
            L"Process %u may not announce a server on [%S].", node.pid, entry.channel.c_str());
    return true;
  }
  if (member.entries.size() >= kEntriesPerMember) return false;
  entry.pid = static_cast<int32_t>(node.pid);
  TellOthersLocked(node,
                   EncodeRemoteEntry(FrameKind::kEntryAdded, {node, member.pipe_suffix, entry}));
  member.entries.insert_or_assign({entry.channel, entry.id}, std::move(entry));
  return true;
}

void Hub::TellOthersLocked(const NodeKey& node, const std::string& frame) {
  for (const auto& [other, member] : members_) {
    if (other == node) continue;
    if (member.client->stream.Write(frame, kWaitingLimit) == PipeStream::kFull) {
      member.client->stream.Break();
    }
  }
}

}  // namespace host::channels
