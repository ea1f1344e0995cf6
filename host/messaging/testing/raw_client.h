#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "host/messaging/message_codec.h"
#include "host/messaging/pipe_access.h"
#include "host/messaging/testing/echo_peer.h"

namespace host::channels::testing {

inline constexpr const char* kSuffix = "0123456789abcdef0123456789abcdef";

// A connection of bare bytes.
class RawClient {
 public:
  explicit RawClient(const std::wstring& name) : pipe_(OpenPipe(name)) {
    EXPECT_TRUE(pipe_) << GetLastError();
  }

  void Send(const std::string& bytes) { Transfer(/*write=*/true, nullptr, bytes); }

  // The next frame; its kind is 0 when the other end has closed the pipe.
  std::pair<uint8_t, std::string> Receive() {
    std::string length(4, '\0');
    if (!Transfer(/*write=*/false, &length, {})) return {};
    uint32_t size = 0;
    memcpy(&size, length.data(), 4);
    std::string frame(size, '\0');
    if (!Transfer(/*write=*/false, &frame, {})) return {};
    return {static_cast<uint8_t>(frame[0]), frame.substr(1)};
  }
  void AwaitEnd() {
    while (Receive().first != 0) {
    }
  }

 private:
  bool Transfer(bool write, std::string* read, const std::string& written) {
    size_t at = 0;
    const size_t size = write ? written.size() : read->size();
    while (at < size) {
      OVERLAPPED io{};
      io.hEvent = event_.get();
      const auto count = static_cast<DWORD>(size - at);
      const BOOL good = write ? WriteFile(pipe_.get(), written.data() + at, count, nullptr, &io)
                              : ReadFile(pipe_.get(), read->data() + at, count, nullptr, &io);
      DWORD done = 0;
      if (!good && GetLastError() != ERROR_IO_PENDING) return false;
      if (!GetOverlappedResult(pipe_.get(), &io, &done, /*wait=*/TRUE)) return false;
      at += done;
    }
    return true;
  }

  const orn::UniqueFile pipe_;
  const orn::UniqueHandle event_{CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr)};
};

// A call as echo_peer.h tells, with a claim that nobody is to believe.
inline std::string Request(uint32_t id, const char* what) {
  MessageContent content;
  content.type = 18;
  content.Set("what", messaging::message::kString).bytes = what;
  content.Set("rpc_client_id", messaging::message::kString).bytes = "user";
  content.Set("rpc_impersonated_pid", messaging::message::kInt).number = 4;
  content.Set("data", messaging::message::kBinary).bytes = "d";
  return EncodeDelivery(id, kChannel, content);
}

}  // namespace host::channels::testing
