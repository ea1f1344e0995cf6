#include "module/terminal/stream_message.h"

#include <cstdlib>

// What comes over the stream of a terminal.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orn::RemoteAccess;
  orn::JsonReader reader;
  Base64ObjectImplementation base64;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const StreamMessage message = ReadStreamMessage(text, reader, base64);
  if (message.kind != StreamMessage::Kind::kData && !message.bytes.empty()) std::abort();
  return 0;
}
