#include "module/terminal/terminal.h"

#include <json/value.h>

#include <ctime>
#include <utility>

#include "module/frame/log.h"
#include "module/frame/thread_name.h"
#include "module/terminal/stream_message.h"

namespace orn::RemoteAccess {

namespace {

constexpr DWORD kReadSize = 1024;
// The connector's codes for a stream that is lost.
constexpr uint32_t kStreamLost = 8;
constexpr uint32_t kStreamInvalid = 9;

constexpr char kData[] = "data";
constexpr char kResize[] = "resize";
constexpr char kStreamStop[] = "streamStop";
constexpr char kEncodedBuffer[] = "encodedBuffer";
constexpr char kCols[] = "cols";
constexpr char kRows[] = "rows";

}  // namespace

struct Terminal::Read {
  std::vector<uint8_t> buffer = std::vector<uint8_t>(kReadSize);
  UniqueHandle event;
  OVERLAPPED overlapped{};
};

Terminal::Terminal(const StringT<char>& id, const StringT<wchar_t>& stdin_pipe,
                   const StringT<wchar_t>& stdout_pipe,
                   VeldConnector::Stream::IConnection* connection, uint32_t inactivity_timeout) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::Terminal");
  id_.reserve(64);

  stdin_.reset(CreateFileW(stdin_pipe.c_str(), GENERIC_WRITE, /*share=*/0, /*security=*/nullptr,
                           OPEN_EXISTING, /*flags=*/0, /*template=*/nullptr));
  ORN_LOG(logging::kTrace, trace.function(), L"[stdin]  CreateFile(%s). Error: %d.",
          stdin_pipe.c_str(), GetLastError());
  stdout_.reset(CreateFileW(stdout_pipe.c_str(), GENERIC_READ, FILE_SHARE_READ,
                            /*security=*/nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED,
                            /*template=*/nullptr));
  ORN_LOG(logging::kTrace, trace.function(), L"[stdout] CreateFile(%s). Error: %d.",
          stdout_pipe.c_str(), GetLastError());

  if (connection != nullptr) {
    connection->SetMessageHandler(this);
    comm_stream_ = connection;
  }
  id_ = id;
  start_time_ = _time64(nullptr);
  inactivity_timeout_ = inactivity_timeout;
  stop_event_.reset(CreateEventW(/*security=*/nullptr, /*manual_reset=*/TRUE,
                                 /*initial_state=*/FALSE, /*name=*/nullptr));
  activity_event_.reset(CreateEventW(/*security=*/nullptr, /*manual_reset=*/FALSE,
                                     /*initial_state=*/FALSE, /*name=*/nullptr));
  worker_thread_ = std::thread(&Terminal::TerminalOutputWorker, this);
  inactivity_thread_ = std::thread(&Terminal::UserInactivityChecker, this);
}

Terminal::~Terminal() = default;

bool Terminal::IsValid() const {
  return stdin_.get() != nullptr && stdout_.get() != nullptr && stop_event_.get() != nullptr &&
         activity_event_.get() != nullptr && comm_stream_ != nullptr && !id_.empty();
}

void Terminal::Uninit(VeldConnector::ISocketManager* socket_manager) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::Uninit");
  const std::lock_guard lock(uninit_mutex_);
  ORN_LOG(logging::kTrace, trace.function(), L"Signaling worker thread to stop");
  SetEvent(stop_event_.get());
  ORN_LOG(logging::kTrace, trace.function(), L" -> Joining worker thread");
  worker_thread_.join();
  ORN_LOG(logging::kTrace, trace.function(), L" <- Worker thread stopped");
  ORN_LOG(logging::kTrace, trace.function(), L" -> Joining inactivity checker thread");
  inactivity_thread_.join();
  ORN_LOG(logging::kTrace, trace.function(), L" <- Inactivity checker thread stopped");
  SendStreamStopMessage();
  ORN_LOG(logging::kTrace, trace.function(), L" -> Destroying stream connection.");
  socket_manager->DestroyStream(comm_stream_);
  ORN_LOG(logging::kTrace, trace.function(), L" <- Stream connection destroyed.");
}

void Terminal::TerminalOutputWorker() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessAL::Terminal::TerminalOutputWorker");
  SetThreadName(L"Terminal output");
  for (;;) {
    auto read = std::make_unique<Read>();
    // A code that an earlier call left behind would be taken for this read's. Making the event
    // clears it, and nothing may come between the three calls.
    read->event.reset(CreateEventW(/*security=*/nullptr, /*manual_reset=*/FALSE,
                                   /*initial_state=*/FALSE, /*name=*/nullptr));
    read->overlapped.hEvent = read->event.get();
    const BOOL done =
        ReadFile(stdout_.get(), read->buffer.data(), kReadSize, nullptr, &read->overlapped);
    const DWORD code = GetLastError();
    if (!done && code == ERROR_IO_PENDING) {
      // Only here is the stop looked at: what the pipe holds already is still sent.
      const HANDLE events[] = {stop_event_.get(), read->event.get()};
      if (WaitForMultipleObjects(2, events, /*all=*/FALSE, INFINITE) == WAIT_OBJECT_0) {
        ORN_LOG(logging::kTrace, trace.function(),
                L"TerminalOutput worker thread signaled to stop. Returning");
        // Nobody calls the read off, and a shell that still prints completes it.
        abandoned_read_ = std::move(read);
        return;
      }
    } else if (code != ERROR_SUCCESS) {
      ORN_LOG(logging::kWarning, trace.function(), L"ReadFile failed. Error %d.", code);
      return;
    }
    DWORD count = 0;
    GetOverlappedResult(stdout_.get(), &read->overlapped, &count, /*wait=*/FALSE);
    std::vector<uint8_t>& buffer = read->buffer;
    buffer.resize(count);
    if (!buffer.empty()) OnTerminalOutput(buffer);
  }
}

void Terminal::OnTerminalOutput(const std::vector<uint8_t>& bytes) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::OnTerminalOutput");
  const std::lock_guard lock(message_mutex_);
  ORN_LOG(logging::kTrace, trace.function(), L"Terminal output %d bytes.",
          static_cast<int>(bytes.size()));
  std::string encoded;
  base64_.Encode(bytes, encoded, /*pad=*/true);
  Json::Value content;
  content[kEncodedBuffer] = encoded;
  SendMessageWrapper(kData, writer_.Write(content));
}

void Terminal::OnMessage(const std::string& text) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::OnMessage");
  const std::lock_guard lock(message_mutex_);
  const StreamMessage message = ReadStreamMessage(text, reader_, base64_);
  switch (message.kind) {
    case StreamMessage::Kind::kNone:
      break;
    case StreamMessage::Kind::kData:
      OnData(message.bytes);
      break;
    case StreamMessage::Kind::kResize:
      OnResize(message.size);
      break;
    case StreamMessage::Kind::kStreamStop:
      ORN_LOG(logging::kInformation, trace.function(),
              L"streamStop message received. Will signal terminal uninit.");
      RequestEnd();
      break;
    case StreamMessage::Kind::kStreamError:
      ORN_LOG(logging::kNotice, trace.function(),
              L"streamError message received. Will signal terminal uninit.");
      ORN_LOG(logging::kNotice, trace.function(), L"streamError message-content: [%S]",
              text.c_str());
      RequestEnd();
      break;
  }
}

void Terminal::OnData(const std::vector<uint8_t>& bytes) {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::Terminal::OnMessage";
  SetEvent(activity_event_.get());
  DWORD written = 0;
  if (!WriteFile(stdin_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                 /*overlapped=*/nullptr)) {
    ORN_LOG(logging::kError, kFunction, L"Failed to write bytes in terminal. Error: %d",
            GetLastError());
  }
  ORN_LOG(logging::kTrace, kFunction, L"Written %d bytes in terminal.", written);
}

void Terminal::OnResize(const TerminalSize& size) {
  ORN_LOG(logging::kInformation, L"orn::RemoteAccess::RemoteAccessAL::Terminal::OnMessage",
          L"resize message received. Will resize the terminal.");
  if (TerminalEvents* const events = events_) events->OnTerminalResize(id_, size);
  SendResizeMessage(size);
}

void Terminal::SendStreamMessage(const std::string& type, const std::string& content) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::SendStreamMessage");
  const std::lock_guard lock(message_mutex_);
  SendMessageWrapper(type, content);
}

void Terminal::SendStreamStopMessage() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessAL::Terminal::SendStreamStopMessage");
  const std::lock_guard lock(message_mutex_);
  Json::Value content;
  content["reason"] = 0;
  SendMessageWrapper(kStreamStop, writer_.Write(content));
}

void Terminal::SendResizeMessage(const TerminalSize& size) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::SendResizeMessage");
  Json::Value content;
  content[kCols] = size.cols;
  content[kRows] = size.rows;
  SendMessageWrapper(kResize, writer_.Write(content));
}

void Terminal::SendMessageWrapper(const std::string& type, const std::string& content) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Terminal::SendMessageWrapper");
  ORN_LOG(logging::kTrace, trace.function(), L" -> commStream->Send(%S,%S)", type.c_str(),
          content.c_str());
  const uint32_t result = comm_stream_->Send({type, content}, send_argument_);
  ORN_LOG(result == 0 ? logging::kInformation : logging::kWarning, trace.function(),
          L" <- commStream->Send(). Err: %d.", result);
  if (result != kStreamLost && result != kStreamInvalid) return;
  if (type == kStreamStop) {
    // Comes from the cleanup: asking for the end here would let the cleanup wait for itself.
    ORN_LOG(logging::kNotice, trace.function(), L"Failed to send streamStop message.");
    return;
  }
  ORN_LOG(logging::kNotice, trace.function(),
          L"Failed to send message. This terminal session will be stopped");
  RequestEnd();
}

void Terminal::UserInactivityChecker() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessAL::Terminal::UserInactivityChecker");
  SetThreadName(L"Terminal inactivity");
  const uint32_t limit = inactivity_timeout_ * 1000;  // milliseconds
  const HANDLE events[] = {stop_event_.get(), activity_event_.get()};
  for (;;) {
    switch (WaitForMultipleObjects(2, events, /*all=*/FALSE, limit)) {
      case WAIT_OBJECT_0:
        ORN_LOG(logging::kInformation, trace.function(), L"Stop signaled. Returning");
        return;
      case WAIT_OBJECT_0 + 1:
        break;
      case WAIT_TIMEOUT:
        // With a limit of 0 this may come before the owner has made itself known.
        if (events_ == nullptr) break;
        ORN_LOG(logging::kInformation, trace.function(), L"Inactivity detected. Closing terminal");
        RequestEnd();
        return;
      default:
        return;
    }
  }
}

void Terminal::RequestEnd() {
  if (TerminalEvents* const events = events_) events->OnTerminalFinished(id_);
}

}  // namespace orn::RemoteAccess
