#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "module/frame/interface_id.h"
#include "module/frame/plugin_interfaces.h"

namespace Crypt {

// Base64 with the alphabet of RFC 4648. The order of the operations is binary contract.
struct IBase64 {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{AF531571-72AB-42F6-8400-03FC6AEEF266}");
  static constexpr const wchar_t* kTypeName = L"Crypt::IBase64";

  // Replaces `text`, and gives the pointer to its characters. `pad` false leaves the "=" signs out.
  virtual const char* Encode(const void* data, size_t size, std::string& text, bool pad) = 0;
  virtual const char* Encode(const std::vector<uint8_t>& data, std::string& text, bool pad) = 0;

  // `encoded_size` / 4 * 3. Too small for text without padding, up to two bytes too large for other
  // text.
  virtual size_t GetDecodedSize(size_t encoded_size) = 0;

  // Decodes text with or without its padding. `size` holds the buffer's size and becomes the
  // data's. 0, or 1627 where the text is no base64 or the buffer too small; `size` stands then, the
  // buffer may be changed.
  virtual uint32_t Decode(const std::string& text, void* buffer, size_t& size) = 0;
  // The same; also 1627 for the empty text. `data` is empty after a failure.
  virtual uint32_t Decode(const std::string& text, std::vector<uint8_t>& data) = 0;

 protected:
  ~IBase64() = default;
};

}  // namespace Crypt

// Has no state: any thread.
class Base64ObjectImplementation : public IOrnBaseInterface, public Crypt::IBase64 {
 public:
  virtual ~Base64ObjectImplementation() = default;

  void* GetInterface(const InterfaceId& id) override;

  const char* Encode(const void* data, size_t size, std::string& text, bool pad) override;
  const char* Encode(const std::vector<uint8_t>& data, std::string& text, bool pad) override;
  size_t GetDecodedSize(size_t encoded_size) override;
  uint32_t Decode(const std::string& text, void* buffer, size_t& size) override;
  uint32_t Decode(const std::string& text, std::vector<uint8_t>& data) override;
};
