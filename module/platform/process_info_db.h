#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "module/frame/interface_id.h"

namespace messaging {

// Who a process is.
struct process_info {
  int32_t pid = 0;
  std::string path;    // The image's, UTF-8.
  bool admin = false;  // It runs as an administrator.
  // 1 entitles the process to state on whose behalf it calls.
  int32_t kind = 0;
};

struct process_record {
  int32_t pid = 0;
  std::string path;
  bool admin = false;
};

// Two faces of the plug-in "messaging.process_info_db". Both give a record for every process id;
// of a process that is gone or closed to us it has no path and is no administrator. Any thread.
struct process_info_raw {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{E0C57D2A-4D0B-4E0F-8E0B-3C1B5A6F7D21}");

  virtual void get(int32_t pid, process_record& record) = 0;

 protected:
  ~process_info_raw() = default;
};

struct process_info_shared {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{7A2F1C66-98B5-4C54-B4B7-0D1E9C3A5F42}");

  // Never null.
  virtual std::shared_ptr<process_info> get(int32_t pid) = 0;

 protected:
  ~process_info_shared() = default;
};

inline constexpr const wchar_t* kProcessInfoDb = L"messaging.process_info_db";

}  // namespace messaging
