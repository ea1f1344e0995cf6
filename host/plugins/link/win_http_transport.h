#pragma once

#include <memory>
#include <string>

#include "host/common/sync.h"
#include "host/plugins/link/server_address.h"
#include "host/plugins/link/transport.h"
#include "host/plugins/link/win_http_operations.h"

namespace host::link {

// A WebSocket to the server through Windows' own HTTP library, in its asynchronous form: each call
// starts an operation and waits for its completion, the deadline, or Close, whichever comes first.
// So nothing hangs on a peer that froze.
//
// The enrolment key is read from its file in Open and kept nowhere.
class WinHttpTransport final : public ITransport {
 public:
  // `longest_message` is what the server may send at most, in bytes.
  WinHttpTransport(ServerAddress server, MachineIdentity machine, std::wstring key_file,
                   size_t longest_message = kLongestMessage);
  ~WinHttpTransport() override;
  WinHttpTransport(const WinHttpTransport&) = delete;
  WinHttpTransport& operator=(const WinHttpTransport&) = delete;

  Opened Open(std::string& reason) override;
  Received Receive(std::string& text, std::chrono::milliseconds limit) override;
  bool Send(const std::string& text) override;
  void Close() override;

 private:
  bool Prepare(DWORD_PTR& context, std::string& reason);
  bool Request(DWORD_PTR context, DWORD& status, std::string& reason);
  bool Upgrade(std::string& reason);
  bool Take(const WinHttpOperations::Read& read, std::string& text, Received& received);
  void LogClose();
  HINTERNET request();
  HINTERNET socket();

  const ServerAddress server_;
  const MachineIdentity machine_;
  const std::wstring key_file_;
  const size_t longest_message_;
  const std::shared_ptr<WinHttpOperations> operations_ = std::make_shared<WinHttpOperations>();

  // Receive's: a read is under way; what has come of the present message; it has grown too long.
  bool reading_ = false;
  std::string partial_;
  bool too_long_ = false;

  Mutex mutex_;
  bool closed_ = false;
  UniqueInternet session_;
  UniqueInternet connection_;
  UniqueInternet request_;  // until the upgrade
  UniqueInternet socket_;
};

}  // namespace host::link
