#include "module/frame/base64.h"

#include <array>
#include <string_view>

#include "module/frame/error_codes.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kNoSymbol = 0xFF;

constexpr std::array<uint8_t, 256> kValues = [] {
  std::array<uint8_t, 256> values{};
  values.fill(kNoSymbol);
  for (size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<uint8_t>(kAlphabet[i])] = static_cast<uint8_t>(i);
  }
  return values;
}();

}  // namespace

void* Base64ObjectImplementation::GetInterface(const InterfaceId& id) {
  if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
  if (id == Crypt::IBase64::kInterfaceId) return static_cast<Crypt::IBase64*>(this);
  return nullptr;
}

const char* Base64ObjectImplementation::Encode(const void* data, size_t size, std::string& text,
                                               bool pad) {
  const auto* const bytes = static_cast<const uint8_t*>(data);
  const size_t groups = (size + 2) / 3;
  const size_t symbols = groups * 4 - (groups * 3 - size);
  text.assign(pad ? groups * 4 : symbols, '=');
  for (size_t group = groups; group-- > 0;) {
    uint32_t bits = 0;
    for (size_t at = group * 3; at < group * 3 + 3; ++at) {
      bits = bits << 8 | (at < size ? bytes[at] : 0U);
    }
    for (size_t at = group * 4 + 4; at-- > group * 4; bits >>= 6) {
      if (at < symbols) text[at] = kAlphabet[bits & 63];
    }
  }
  return text.c_str();
}

const char* Base64ObjectImplementation::Encode(const std::vector<uint8_t>& data, std::string& text,
                                               bool pad) {
  return Encode(data.data(), data.size(), text, pad);
}

size_t Base64ObjectImplementation::GetDecodedSize(size_t encoded_size) {
  return encoded_size / 4 * 3;
}

uint32_t Base64ObjectImplementation::Decode(const std::string& text, void* buffer, size_t& size) {
  const size_t symbols = text.find_last_not_of('=') + 1;  // 0 where there is no other character.
  const size_t groups = (text.size() + 3) / 4;
  const size_t padding = groups * 4 - symbols;  // What is written and what was left out.
  if (padding > 2) return error::kFailed;
  const size_t decoded = groups * 3 - padding;
  if (size < decoded) return error::kFailed;

  auto* const bytes = static_cast<uint8_t*>(buffer);
  for (size_t group = groups; group-- > 0;) {
    uint32_t bits = 0;
    for (size_t at = group * 4; at < group * 4 + 4; ++at) {
      const uint8_t value = at < symbols ? kValues[static_cast<uint8_t>(text[at])] : uint8_t{0};
      if (value == kNoSymbol) return error::kFailed;
      bits = bits << 6 | value;
    }
    for (size_t at = group * 3 + 3; at-- > group * 3; bits >>= 8) {
      if (at < decoded) bytes[at] = static_cast<uint8_t>(bits);
    }
  }
  size = decoded;
  return error::kSuccess;
}

uint32_t Base64ObjectImplementation::Decode(const std::string& text, std::vector<uint8_t>& data) {
  data.clear();
  if (text.empty()) return error::kFailed;
  size_t size = (text.size() + 3) / 4 * 3;
  data.resize(size);
  const uint32_t status = Decode(text, data.data(), size);
  data.resize(status == error::kSuccess ? size : 0);
  return status;
}
