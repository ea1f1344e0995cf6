#include "host/messaging/pipe_server.h"

#include <algorithm>
#include <utility>

#include "host/messaging/pipe_access.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::channels {

namespace {

// More than any process of ours needs; each costs a thread.
constexpr int kConnectionsPerProcess = 16;
constexpr DWORD kRetryPause = 100;  // Milliseconds, where no further end can be made.

}  // namespace

PipeServer::PipeServer(std::wstring name, const wchar_t* thread_name, size_t frame_limit,
                       Serve serve)
    : name_(std::move(name)),
      thread_name_(thread_name),
      frame_limit_(frame_limit),
      serve_(std::move(serve)),
      stop_(CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, nullptr)),
      ended_(CreateEventW(nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE, nullptr)) {}

uint32_t PipeServer::Start() {
  orn::UniqueFile end = CreatePipeEnd(name_, /*first=*/true);
  if (!end) return GetLastError();
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

void PipeServer::Listen(orn::UniqueFile end) {
  orn::SetThreadName(L"Messaging listener");
  const orn::UniqueHandle connected(
      CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, nullptr));
  const auto make_end = [&] {
    while (!(end = CreatePipeEnd(name_, /*first=*/false))) {
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
  const uint32_t pid = ClientOf(pipe.get());
  const auto count = std::ranges::count_if(
      connections_, [&](const Connection& connection) { return connection.client->pid == pid; });
  if (pid == 0 || count >= kConnectionsPerProcess) {
    ORN_LOG(logging::kWarning, L"host::channels::PipeServer",
            L"A connection from process %u is refused.", pid);
    return;
  }
  Connection& connection = connections_.emplace_back();
  connection.client = std::make_shared<ServedPipe>(frame_limit_, pid, SystemTime());
  connection.client->stream.Attach(std::move(pipe));
  connection.thread = std::thread([this, &connection] {
    orn::SetThreadName(thread_name_);
    serve_(connection.client);
    connection.client->stream.Break();
    connection.ended = true;
    SetEvent(ended_.get());
  });
}

void PipeServer::Reap() {
  for (auto it = connections_.begin(); it != connections_.end();) {
    if (!it->ended) {
      ++it;
      continue;
    }
    it->thread.join();
    it = connections_.erase(it);
  }
}

}  // namespace host::channels
