#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/common/running_process.h"
#include "host/messaging/pipe_access.h"
#include "host/messaging/pipe_stream.h"
#include "host/messaging/user_access.h"
#include "module/frame/handle.h"

namespace host::channels {

// A client of a pipe server.
struct ServedPipe {
  ServedPipe(size_t frame_limit, uint32_t client, Door door)
      : pid(client),
        connected(SystemTime()),
        process(client),
        user(door == Door::kUsers),
        stream(frame_limit) {}

  // Of the connection's thread, once the first frame has come. False for a user's connection that
  // was made by somebody else than the process that has the id now.
  bool IsGenuine() const;
  // Of the connection's thread, after each frame: makes a user who sends many wait.
  void HoldBack();

  const uint32_t pid;            // As the operating system says.
  const uint64_t connected;      // The system's time.
  const RunningProcess process;  // While it is open, nobody else gets its id.
  const bool user;               // Came by the users' door.
  PipeStream stream;

 private:
  // What a console needs, with some to spare.
  Ration frames_{32, std::chrono::milliseconds(250)};
};

// Takes connections on a pipe's name, each on a thread of its own. What stands before the users'
// door can use up neither memory nor threads, nor another user's room, nor fill the log.
class PipeServer {
 public:
  // Runs on the connection's thread; its return ends the connection.
  using Serve = std::function<void(const std::shared_ptr<ServedPipe>& client)>;

  // The name of the connections' threads must be a literal.
  PipeServer(std::wstring name, Door door, const wchar_t* thread_name, size_t frame_limit,
             Serve serve);
  PipeServer(const PipeServer&) = delete;
  PipeServer& operator=(const PipeServer&) = delete;
  ~PipeServer() { Stop(); }

  // Returns 0, or why the name cannot be had: 5 where it is somebody's already. A name of the
  // users' door is waited for, and this returns 0 at once: what a user has taken must not keep an
  // agent from its start.
  uint32_t Start();
  // Breaks all connections and waits for their threads.
  void Stop();

 private:
  struct Connection {
    std::shared_ptr<ServedPipe> client;
    std::wstring account;  // Of a user.
    std::atomic<bool> ended{false};
    std::thread thread;
  };

  void Listen(orn::UniqueFile end);
  bool AwaitName(orn::UniqueFile& end);
  void Admit(orn::UniqueFile pipe);
  bool HasRoomFor(const ServedPipe& client, const std::wstring& account);
  // Joins the threads of the connections that have ended.
  void Reap();

  // Fixed after Start.
  const std::wstring name_;
  const Door door_;
  const wchar_t* const thread_name_;
  const size_t frame_limit_;
  const Serve serve_;
  const orn::UniqueHandle stop_;
  const orn::UniqueHandle ended_;  // A connection is to be reaped.
  std::thread listener_;

  // The listener's, and Stop's when that has ended.
  std::list<Connection> connections_;
  DoorLimits limits_;                                         // Of the users' door.
  Ration refusals_{8, std::chrono::milliseconds(30 * 1000)};  // That the log tells of.
};

}  // namespace host::channels
