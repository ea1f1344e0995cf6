#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "host/messaging/message_codec.h"
#include "host/messaging/pipe_access.h"
#include "host/messaging/pipe_stream.h"
#include "host/messaging/testing/echo_peer.h"

namespace host::channels::testing {

inline constexpr const char* kSuffix = "0123456789abcdef0123456789abcdef";

// A connection that sends any bytes.
class RawClient {
 public:
  explicit RawClient(const std::wstring& name) {
    orn::UniqueFile pipe = OpenPipe(name);
    EXPECT_TRUE(pipe) << GetLastError();
    stream_.Attach(std::move(pipe));
  }

  // What the pipe does not take at once goes out while this receives.
  void Send(const std::string& bytes) { stream_.Write(bytes, SIZE_MAX); }

  // The next frame; its kind is 0 when the other end has closed the pipe.
  std::pair<uint8_t, std::string> Receive() {
    Frame frame;
    if (stream_.Next(frame, INFINITE) != PipeStream::kFrame) return {};
    return {static_cast<uint8_t>(frame.kind), std::string(frame.payload)};
  }
  void AwaitEnd() {
    while (Receive().first != 0) {
    }
  }

 private:
  PipeStream stream_{kFrameLimit};
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
