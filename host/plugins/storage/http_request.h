#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/plugins/link/server_address.h"
#include "host/plugins/link/win_http_operations.h"
#include "host/plugins/storage/transfer_control.h"

namespace host::storage {

// What a response says of itself, ahead of its body.
struct ResponseHead {
  int32_t status = 0;
  int64_t content_length = -1;  // -1: not told
  std::string content_type;
  std::wstring etag;
  std::wstring content_range;
  std::wstring location;
};

// One request and its response, on a connection of its own. Each call waits for its end, which the
// control's cancel and deadline bring about as well. Redirects are not followed here, and no
// credentials are sent but those in the headers. One thread; calls in the order below.
//
// Operations return 0, 1223, 1460 or a code of transfer_errors.h.
class HttpRequest {
 public:
  // `control` is borrowed. Without a byte from the peer for `stall_limit` the request fails.
  HttpRequest(TransferControl& control, std::chrono::milliseconds stall_limit);
  ~HttpRequest();
  HttpRequest(const HttpRequest&) = delete;
  HttpRequest& operator=(const HttpRequest&) = delete;

  // Sends all ahead of the body. `headers` are lines that end in CR LF; a body's length is among
  // them.
  uint32_t Send(const wchar_t* method, const link::ServerAddress& address,
                const std::wstring& headers);

  // The next piece of the body is put into this buffer, then sent by Write.
  std::string& body_buffer() { return operations_->write_buffer; }
  uint32_t Write();

  uint32_t Receive(ResponseHead& head);

  // The next piece of the response's body; empty at its end. `piece` is valid until the next call.
  uint32_t Read(std::string_view& piece);

 private:
  using Step = link::WinHttpOperations::Step;

  uint32_t Open(const wchar_t* method, const link::ServerAddress& address);
  // The end of an operation that was started, or not.
  uint32_t Finish(Step step, bool started);
  std::wstring Header(uint32_t header) const;
  uint32_t ReadBytes(DWORD size, std::string_view& piece);

  TransferControl& control_;
  const std::chrono::milliseconds stall_limit_;
  const std::shared_ptr<link::WinHttpOperations> operations_;
  DWORD next_read_bytes_ = 0;  // 0: as much as is here
  // Closed in the reverse order.
  link::UniqueInternet session_;
  link::UniqueInternet connection_;
  link::UniqueInternet request_;
};

}  // namespace host::storage
