#pragma once

#include <cstdint>
#include <string>

namespace messaging::rpc {

// What client and server have in common: where they meet. Fixed once Init has begun.
class comm_base {
 public:
  comm_base(const comm_base&) = delete;
  comm_base& operator=(const comm_base&) = delete;

  // The module's name, UTF-8, as the lines of the log tell it.
  const std::string& get_name() const { return name; }

 protected:
  comm_base() = default;
  ~comm_base() = default;

  // What was not set before Init gets its default: the interface's name, and the channel of that
  // name.
  void fill_in_names(const char* default_name) {
    if (name.empty()) name = default_name;
    if (channel.empty()) channel = "TsrComm." + name;
  }

  std::string name;
  std::string channel;
  uint32_t default_timeout = 60000;  // milliseconds
};

}  // namespace messaging::rpc
