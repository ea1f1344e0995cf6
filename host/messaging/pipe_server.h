#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/messaging/pipe_stream.h"
#include "module/frame/handle.h"

namespace host::channels {

// A client of a pipe server.
struct ServedPipe {
  ServedPipe(size_t frame_limit, uint32_t client, uint64_t time)
      : stream(frame_limit), pid(client), connected(time) {}

  PipeStream stream;
  const uint32_t pid;        // As the operating system says.
  const uint64_t connected;  // The system's time.
};

// Takes connections on a pipe's name, each on a thread of its own.
class PipeServer {
 public:
  // Runs on the connection's thread; its return ends the connection.
  using Serve = std::function<void(const std::shared_ptr<ServedPipe>& client)>;

  // The name of the connections' threads must be a literal.
  PipeServer(std::wstring name, const wchar_t* thread_name, size_t frame_limit, Serve serve);
  PipeServer(const PipeServer&) = delete;
  PipeServer& operator=(const PipeServer&) = delete;
  ~PipeServer() { Stop(); }

  // Returns 0, or why the name cannot be had: 5 where it is somebody's already.
  uint32_t Start();
  // Breaks all connections and waits for their threads.
  void Stop();

 private:
  struct Connection {
    std::shared_ptr<ServedPipe> client;
    std::atomic<bool> ended{false};
    std::thread thread;
  };

  void Listen(orn::UniqueFile end);
  void Admit(orn::UniqueFile pipe);
  // Joins the threads of the connections that have ended.
  void Reap();

  // Fixed after Start.
  const std::wstring name_;
  const wchar_t* const thread_name_;
  const size_t frame_limit_;
  const Serve serve_;
  const orn::UniqueHandle stop_;
  const orn::UniqueHandle ended_;  // A connection is to be reaped.
  std::thread listener_;

  // The listener's, and Stop's when that has ended.
  std::list<Connection> connections_;
};

}  // namespace host::channels
