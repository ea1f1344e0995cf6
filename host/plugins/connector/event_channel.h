#pragma once

#include <json/value.h>

#include <string>

#include "module/frame/interface_id.h"

namespace host {

// A further face of "VeldConnector", for plug-ins of this agent that tell the server what happened
// here.
struct IEventChannel {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{7A4E9D15-2C36-4F8D-A7B1-93F05D6C28E4}");
  static constexpr const wchar_t* kTypeName = L"host::IEventChannel";

  // Waits for nothing. False where the event is not taken: there is no connection, or too much
  // waits to be sent already. `name` is not empty. Any thread.
  virtual bool TrySendEvent(const std::string& name, const Json::Value& payload) = 0;

 protected:
  ~IEventChannel() = default;
};

}  // namespace host
