#pragma once

#include <string>

#include "module/frame/plugin_interfaces.h"
#include "module/rpc/module_name.h"

// The smallest interface that travels by the module's remote calls.
namespace bench {

struct IEcho : IOrnBaseInterface {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{6C2B7A90-5D1E-4F38-9A4B-0E7D31C5F682}");
  static constexpr const wchar_t* kTypeName = L"bench::IEcho";

  virtual int32_t Echo(const std::string& request, std::string& answer) = 0;

 protected:
  ~IEcho() = default;
};

// On the wire.
inline constexpr int32_t kEchoMethod = 1;
inline constexpr uint32_t kEchoRequest = 0x0102;
inline constexpr uint32_t kEchoAnswer = 0x0202;

}  // namespace bench

template <>
inline constexpr const char* messaging::rpc::module_name<bench::IEcho> = "Echo";
