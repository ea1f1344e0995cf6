#include "host/plugins/link/win_http_transport.h"

#include <optional>
#include <utility>

#include "host/plugins/link/key_file.h"
#include "module/frame/log.h"

namespace host::link {

namespace {

using Step = WinHttpOperations::Step;

constexpr std::chrono::seconds kOpenLimit{30};
// Beyond the silence after which the connection is given up anyway.
constexpr int kReceiveTimeoutMs = 120'000;
constexpr DWORD kRefusedKey = 401;
constexpr DWORD kSwitchingProtocols = 101;

std::string Failed(const char* operation, DWORD error) {
  return std::string(operation) + " failed with error " + std::to_string(error) + ".";
}

}  // namespace

WinHttpTransport::WinHttpTransport(ServerAddress server, MachineIdentity machine,
                                   std::wstring key_file, size_t longest_message)
    : server_(std::move(server)),
      machine_(std::move(machine)),
      key_file_(std::move(key_file)),
      longest_message_(longest_message) {}

WinHttpTransport::~WinHttpTransport() {
  Close();
}

ITransport::Opened WinHttpTransport::Open(std::string& reason) {
  DWORD_PTR context = 0;
  DWORD status = 0;
  if (!Prepare(context, reason) || !Request(context, status, reason)) return Opened::kFailed;
  if (status == kRefusedKey) {
    reason = "HTTP status 401.";
    return Opened::kRefused;
  }
  if (status != kSwitchingProtocols) {
    reason = "HTTP status " + std::to_string(status) + ".";
    return Opened::kFailed;
  }
  return Upgrade(reason) ? Opened::kOpen : Opened::kFailed;
}

bool WinHttpTransport::Prepare(DWORD_PTR& context, std::string& reason) {
  // A proxy has no business between this machine and itself.
  const DWORD access =
      server_.IsLoopback() ? WINHTTP_ACCESS_TYPE_NO_PROXY : WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY;
  UniqueInternet session(WinHttpOpen(L"RemoteAccess", access, WINHTTP_NO_PROXY_NAME,
                                     WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC));
  if (session == nullptr) {
    reason = Failed("WinHttpOpen", GetLastError());
    return false;
  }
  WinHttpSetStatusCallback(session.get(), &WinHttpOperations::OnStatus,
                           WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES,
                           /*dwReserved=*/0);
  UniqueInternet connection(
      WinHttpConnect(session.get(), server_.host.c_str(), server_.port, /*dwReserved=*/0));
  if (connection == nullptr) {
    reason = Failed("WinHttpConnect", GetLastError());
    return false;
  }
  UniqueInternet request(WinHttpOpenRequest(connection.get(), L"GET", server_.path.c_str(),
                                            /*pwszVersion=*/nullptr, WINHTTP_NO_REFERER,
                                            WINHTTP_DEFAULT_ACCEPT_TYPES,
                                            server_.secure ? WINHTTP_FLAG_SECURE : 0));
  if (request == nullptr) {
    reason = Failed("WinHttpOpenRequest", GetLastError());
    return false;
  }
  // The key goes to the server that was named and nowhere else.
  DWORD disabled =
      WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_AUTHENTICATION;
  WinHttpSetOption(request.get(), WINHTTP_OPTION_DISABLE_FEATURE, &disabled, sizeof(disabled));
  DWORD timeout = kReceiveTimeoutMs;
  WinHttpSetOption(request.get(), WINHTTP_OPTION_RECEIVE_TIMEOUT, &timeout, sizeof(timeout));
  if (!WinHttpSetOption(request.get(), WINHTTP_OPTION_UPGRADE_TO_WEB_SOCKET,
                        /*lpBuffer=*/nullptr, /*dwBufferLength=*/0)) {
    reason = Failed("WinHttpSetOption", GetLastError());
    return false;
  }
  context = operations_->NewContext();
  if (!WinHttpSetOption(request.get(), WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof(context))) {
    reason = Failed("WinHttpSetOption", GetLastError());
    WinHttpOperations::DropContext(context);
    return false;
  }
  const Lock lock(mutex_);
  session_ = std::move(session);
  connection_ = std::move(connection);
  request_ = std::move(request);
  return true;
}

bool WinHttpTransport::Request(DWORD_PTR context, DWORD& status, std::string& reason) {
  const std::optional<std::wstring> key = ReadKeyFile(key_file_);
  if (!key) {
    reason = "The key file cannot be read or holds no key.";
    return false;
  }
  const std::wstring headers = L"Authorization: Bearer " + *key + L"\r\nX-Machine-Id: " +
                               machine_.id + L"\r\nX-Machine-Name: " +
                               EncodeMachineName(machine_.name) + L"\r\n";
  const Clock::time_point deadline = Clock::now() + kOpenLimit;
  const auto failed = [&](const char* operation, DWORD error) {
    if (operations_->failure() != 0) error = operations_->failure();
    reason = Failed(operation, error != 0 ? error : ERROR_TIMEOUT);
    return false;
  };

  operations_->Begin(Step::kRequestSent);
  if (!WinHttpSendRequest(request(), headers.c_str(), static_cast<DWORD>(headers.size()),
                          WINHTTP_NO_REQUEST_DATA, /*dwOptionalLength=*/0, /*dwTotalLength=*/0,
                          context)) {
    return failed("WinHttpSendRequest", GetLastError());
  }
  if (!operations_->Await(Step::kRequestSent, deadline)) return failed("WinHttpSendRequest", 0);

  operations_->Begin(Step::kHeadersHere);
  if (!WinHttpReceiveResponse(request(), /*lpReserved=*/nullptr)) {
    return failed("WinHttpReceiveResponse", GetLastError());
  }
  if (!operations_->Await(Step::kHeadersHere, deadline)) {
    return failed("WinHttpReceiveResponse", 0);
  }

  DWORD size = sizeof(status);
  if (!WinHttpQueryHeaders(request(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                           WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX)) {
    return failed("WinHttpQueryHeaders", GetLastError());
  }
  return true;
}

bool WinHttpTransport::Upgrade(std::string& reason) {
  const DWORD_PTR context = operations_->NewContext();
  UniqueInternet socket(WinHttpWebSocketCompleteUpgrade(request(), context));
  if (socket == nullptr) {
    reason = Failed("WinHttpWebSocketCompleteUpgrade", GetLastError());
    WinHttpOperations::DropContext(context);
    return false;
  }
  UniqueInternet upgraded;
  const Lock lock(mutex_);
  upgraded.swap(request_);
  if (closed_) {
    reason = "Closed.";
    return false;
  }
  socket_ = std::move(socket);
  return true;
}

ITransport::Received WinHttpTransport::Receive(std::string& text, std::chrono::milliseconds limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  for (;;) {
    if (!reading_) {
      operations_->Begin(Step::kRead);
      auto& buffer = operations_->read_buffer;
      const DWORD error =
          WinHttpWebSocketReceive(socket(), buffer.data(), static_cast<DWORD>(buffer.size()),
                                  /*pdwBytesRead=*/nullptr, /*peBufferType=*/nullptr);
      if (error != NO_ERROR) return Received::kClosed;
      reading_ = true;
    }
    if (!operations_->Await(Step::kRead, deadline)) {
      return operations_->has_ended() ? Received::kClosed : Received::kTimeout;
    }
    reading_ = false;
    Received received;
    if (Take(operations_->last_read(), text, received)) return received;
  }
}

// True where the read has completed what Receive waits for.
bool WinHttpTransport::Take(const WinHttpOperations::Read& read, std::string& text,
                            Received& received) {
  if (read.type == WINHTTP_WEB_SOCKET_CLOSE_BUFFER_TYPE) {
    LogClose();
    received = Received::kClosed;
    return true;
  }
  too_long_ = too_long_ || partial_.size() + read.bytes > longest_message_;
  if (too_long_) {
    partial_.clear();
  } else {
    partial_.append(operations_->read_buffer.data(), read.bytes);
  }
  if (read.type == WINHTTP_WEB_SOCKET_UTF8_FRAGMENT_BUFFER_TYPE ||
      read.type == WINHTTP_WEB_SOCKET_BINARY_FRAGMENT_BUFFER_TYPE) {
    return false;
  }
  received = std::exchange(too_long_, false) ? Received::kTooLong : Received::kMessage;
  text = std::exchange(partial_, {});
  return true;
}

void WinHttpTransport::LogClose() {
  USHORT status = 0;
  char reason[WINHTTP_WEB_SOCKET_MAX_CLOSE_REASON_LENGTH + 1] = {};
  DWORD length = 0;
  WinHttpWebSocketQueryCloseStatus(socket(), &status, reason, sizeof(reason) - 1, &length);
  ORN_LOG(logging::kNotice, L"host::link::WinHttpTransport::Receive",
          L"The server closes the connection: %d %S", status, reason);
}

bool WinHttpTransport::Send(const std::string& text) {
  if (operations_->has_ended()) return false;
  operations_->Begin(Step::kWritten);
  // A copy, since a write that was given up may go on for a while.
  operations_->write_buffer = text;
  auto& buffer = operations_->write_buffer;
  const DWORD error = WinHttpWebSocketSend(socket(), WINHTTP_WEB_SOCKET_UTF8_MESSAGE_BUFFER_TYPE,
                                           buffer.data(), static_cast<DWORD>(buffer.size()));
  return error == NO_ERROR && operations_->Await(Step::kWritten, Clock::time_point::max());
}

void WinHttpTransport::Close() {
  UniqueInternet session;
  UniqueInternet connection;
  UniqueInternet request;
  UniqueInternet socket;
  {
    const Lock lock(mutex_);
    closed_ = true;
    session.swap(session_);
    connection.swap(connection_);
    request.swap(request_);
    socket.swap(socket_);
  }
  operations_->End();
  // Closed in the reverse order of these variables. A handle that another thread is about to use is
  // refused there; its value cannot have been given to a new one, since the next attempt is half a
  // second away.
  if (socket != nullptr) {
    WinHttpWebSocketShutdown(socket.get(), WINHTTP_WEB_SOCKET_SUCCESS_CLOSE_STATUS,
                             /*pvReason=*/nullptr, /*dwReasonLength=*/0);
  }
}

HINTERNET WinHttpTransport::request() {
  const Lock lock(mutex_);
  return request_.get();
}

HINTERNET WinHttpTransport::socket() {
  const Lock lock(mutex_);
  return socket_.get();
}

}  // namespace host::link
