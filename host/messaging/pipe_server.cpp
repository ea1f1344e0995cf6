#include "host/messaging/pipe_server.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::channels {

namespace {

// More than any process of ours needs; each costs a thread.
constexpr int kConnectionsPerProcess = 16;
constexpr DWORD kRetryPause = 100;  // Milliseconds, where no further end can be made.
constexpr DWORD kNamePause = 2000;  // Milliseconds, while a name is somebody else's.

}  // namespace

bool ServedPipe::IsGenuine() const {
  if (!user) return true;
  // A connection outlives the process that made it where another one has it too, and its id may
  // have gone on to a process with more rights before that was looked at.
  const std::optional<uint64_t> logon = LogonOfClient(stream.pipe());
  return logon && logon == process.Logon();
}

void ServedPipe::HoldBack() {
  if (!user) return;
  const auto wait = frames_.Take();
  if (wait.count() > 0) Sleep(static_cast<DWORD>(wait.count()));
}

PipeServer::PipeServer(std::wstring name, Door door, const wchar_t* thread_name, size_t frame_limit,
                       Serve serve)
    : name_(std::move(name)),
      door_(door),
      thread_name_(thread_name),
      frame_limit_(frame_limit),
      serve_(std::move(serve)),
      stop_(CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, nullptr)),
      ended_(CreateEventW(nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE, nullptr)) {}

uint32_t PipeServer::Start() {
  orn::UniqueFile end = CreatePipeEnd(name_, door_, /*first=*/true);
  if (!end && door_ != Door::kUsers) return GetLastError();
  listener_ = std::thread([this, taken = std::make_shared<orn::UniqueFile>(std::move(end))] {
    Listen(std::move(*taken));
  });
  return 0;
}

void PipeServer::Stop() {
  if (!listener_.joinable()) return;
  SetEvent(stop_.get());
  listener_.join();
  for (Connection& connection : connections_)
    connection.client->stream.Break();
  for (Connection& connection : connections_)
    connection.thread.join();
  connections_.clear();
}

bool PipeServer::AwaitName(orn::UniqueFile& end) {
  for (bool told = false; !end && !(end = CreatePipeEnd(name_, door_, /*first=*/true));
       told = true) {
    if (!told) {
      ORN_LOG(logging::kWarning, L"host::channels::PipeServer",
              L"The users' pipe %s cannot be had yet. Error: %u.", name_.c_str(), GetLastError());
    }
    if (WaitForSingleObject(stop_.get(), kNamePause) == WAIT_OBJECT_0) return false;
  }
  return true;
}

void PipeServer::Listen(orn::UniqueFile end) {
  orn::SetThreadName(L"Messaging listener");
  if (!AwaitName(end)) return;
  const orn::UniqueHandle connected(
      CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, nullptr));
  const auto make_end = [&] {
    while (!(end = CreatePipeEnd(name_, door_, /*first=*/false))) {
      if (WaitForSingleObject(stop_.get(), kRetryPause) == WAIT_OBJECT_0) return false;
    }
    return true;
  };
  for (;;) {
    OVERLAPPED connect{};
    connect.hEvent = connected.get();
    bool good = ConnectNamedPipe(end.get(), &connect) || GetLastError() == ERROR_PIPE_CONNECTED;
    if (!good && GetLastError() == ERROR_IO_PENDING) {
      const HANDLE objects[] = {stop_.get(), connected.get(), ended_.get()};
      DWORD result = 0;
      while ((result = WaitForMultipleObjects(3, objects, /*waitAll=*/FALSE, INFINITE)) ==
             WAIT_OBJECT_0 + 2) {
        Reap();
      }
      DWORD count = 0;
      if (result != WAIT_OBJECT_0 + 1) {
        CancelIoEx(end.get(), &connect);
        GetOverlappedResult(end.get(), &connect, &count, /*wait=*/TRUE);
        return;
      }
      good = GetOverlappedResult(end.get(), &connect, &count, /*wait=*/FALSE);
    }
    // The next end is there before this one is served, so that the name never goes away.
    orn::UniqueFile pipe(end.release());
    if (!make_end()) return;
    if (good) Admit(std::move(pipe));
    if (WaitForSingleObject(stop_.get(), 0) == WAIT_OBJECT_0) return;
  }
}

void PipeServer::Admit(orn::UniqueFile pipe) {
  Reap();
  auto client = std::make_shared<ServedPipe>(frame_limit_, ClientOf(pipe.get()), door_);
  std::wstring account = client->user ? client->process.UserSid() : std::wstring();
  if (!HasRoomFor(*client, account)) {
    if (client->user && !refusals_.Try()) return;
    ORN_LOG(logging::kWarning, L"host::channels::PipeServer",
            L"A connection from process %u is refused.", client->pid);
    return;
  }
  Connection& connection = connections_.emplace_back();
  connection.client = std::move(client);
  connection.account = std::move(account);
  connection.client->stream.Attach(std::move(pipe));
  connection.thread = std::thread([this, &connection] {
    orn::SetThreadName(thread_name_);
    serve_(connection.client);
    connection.client->stream.Break();
    connection.ended = true;
    SetEvent(ended_.get());
  });
}

bool PipeServer::HasRoomFor(const ServedPipe& client, const std::wstring& account) {
  if (client.user) {
    // Another one that has the id of one that connected and ended at once is not taken for it.
    return client.process && client.process.created() <= client.connected && !account.empty() &&
           limits_.Enter(client.pid, account, Ration::Clock::now());
  }
  const auto count = std::ranges::count_if(connections_, [&](const Connection& connection) {
    return connection.client->pid == client.pid;
  });
  return client.pid != 0 && count < kConnectionsPerProcess;
}

void PipeServer::Reap() {
  for (auto it = connections_.begin(); it != connections_.end();) {
    if (!it->ended) {
      ++it;
      continue;
    }
    it->thread.join();
    if (it->client->user) limits_.Leave(it->client->pid, it->account);
    it = connections_.erase(it);
  }
}

}  // namespace host::channels
