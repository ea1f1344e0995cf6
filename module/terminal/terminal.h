#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "module/frame/base64.h"
#include "module/frame/fair_mutex.h"
#include "module/frame/handle.h"
#include "module/frame/json.h"
#include "module/frame/log_reference.h"
#include "module/frame/string.h"
#include "module/platform/veld_connector.h"
#include "module/terminal/terminal_events.h"

namespace orn::RemoteAccess {

// The agent's end of one remote shell: joins a stream of the connector to the two pipes of a
// console. What is typed far away comes in by OnMessage and goes into conin; what the shell prints
// comes out of conout and is sent. Incoming, one JSON object each:
//
//   {"type": "data", "data": {"encodedBuffer": "<Base64>"}}
//   {"type": "resize", "resize": {"cols": n, "rows": n}}
//   {"type": "streamStop"}, {"type": "streamError"}
//
// Outgoing are pairs of a type and a content, which is a JSON text that ends in a line feed: "data"
// {"encodedBuffer"}, "resize" {"cols", "rows"} as the echo of each one received, "streamStop"
// {"reason": 0}.
//
// A terminal never ends itself: it asks its owner through TerminalEvents, and the owner calls
// Uninit and deletes it, on a thread that is none of the terminal's own. Its two threads run from
// construction on, so that a terminal deleted without Uninit ends the process.
class Terminal final : public VeldConnector::Stream::IConnection::IMessageHandler {
 public:
  // Opens the pipes, attaches itself to `connection` (not owned; null makes the terminal invalid)
  // and starts the threads. `inactivity_timeout` in seconds: without any "data" message for so long
  // the terminal asks for its end. The milliseconds are computed in 32 bits and wrap.
  Terminal(const StringT<char>& id, const StringT<wchar_t>& stdin_pipe,
           const StringT<wchar_t>& stdout_pipe, VeldConnector::Stream::IConnection* connection,
           uint32_t inactivity_timeout);
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // On a thread of the stream's. Takes any text; what is no message is ignored.
  void OnMessage(const std::string& text) override;

  // As IMessageHandler demands; by then the stream must be destroyed.
  ~Terminal() override;

  // Whether there is something to work with. A pipe that did not open passes: it shows by the first
  // read or write.
  bool IsValid() const;

  // Who hears of the end and of sizes. Until then nobody is told. Not owned.
  void SetEvents(TerminalEvents* events) { events_ = events; }

  // Ends both threads, sends "streamStop" and destroys the stream. Once, on neither thread of the
  // terminal.
  void Uninit(VeldConnector::ISocketManager* socket_manager);

  // Sends a message that is not of the terminal's own making. Any thread.
  void SendStreamMessage(const std::string& type, const std::string& content);

  // Seconds since 1970.
  int64_t start_time() const { return start_time_; }

 private:
  void TerminalOutputWorker();
  void UserInactivityChecker();
  void OnTerminalOutput(const std::vector<uint8_t>& bytes);
  void OnData(const std::vector<uint8_t>& bytes);
  void OnResize(const TerminalSize& size);
  void SendStreamStopMessage();
  // The next two and the two above: with `message_mutex_` held.
  void SendResizeMessage(const TerminalSize& size);
  void SendMessageWrapper(const std::string& type, const std::string& content);
  void RequestEnd();

  struct Read;

  // The order of the members is the reverse of the order in which they are taken down.
  logging::LogReference log_;
  std::unique_ptr<Read> abandoned_read_;  // what the pending read may write to until conout closes
  UniqueFile stdin_;                      // conin, synchronous
  UniqueFile stdout_;                     // conout, overlapped
  UniqueHandle stop_event_;
  VeldConnector::Stream::IConnection* comm_stream_ =
      nullptr;  // Not owned; Uninit has it destroyed.
  // Serialises all that touches the stream, the JSON objects and conin. First come, first served,
  // so that a shell that floods cannot keep out the key that stops it.
  FairMutex message_mutex_;
  std::thread worker_thread_;
  Base64ObjectImplementation base64_;
  JsonReader reader_;
  JsonWriter writer_;
  std::atomic<TerminalEvents*> events_{nullptr};  // Not owned.
  StringT<char> id_;
  int64_t start_time_ = 0;
  std::mutex uninit_mutex_;
  UniqueHandle activity_event_;
  uint32_t inactivity_timeout_ = 0;  // seconds
  std::thread inactivity_thread_;
  int32_t send_argument_ = 10;
};

}  // namespace orn::RemoteAccess
