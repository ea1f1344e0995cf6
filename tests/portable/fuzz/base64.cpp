#include "module/frame/base64.h"

#include <cstdlib>

// Base64 of anybody's. Both ways of decoding agree, and what is decoded comes back.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Base64ObjectImplementation base64;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<uint8_t> bytes;
  if (base64.Decode(text, bytes) == 0) {
    std::vector<uint8_t> buffer(bytes.size());
    size_t length = buffer.size();
    if (base64.Decode(text, buffer.data(), length) != 0 || buffer != bytes) std::abort();
  }

  bytes.assign(data, data + size);
  for (const bool pad : {false, true}) {
    std::string encoded;
    base64.Encode(bytes, encoded, pad);
    std::vector<uint8_t> decoded;
    if (base64.Decode(encoded, decoded) != (size == 0 ? 1627u : 0u) || decoded != bytes) {
      std::abort();
    }
  }
  return 0;
}
