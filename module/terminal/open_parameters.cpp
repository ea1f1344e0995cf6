#include "module/terminal/open_parameters.h"

#include <json/value.h>

#include "module/frame/json.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess {

bool ReadOpenParameters(const std::string& text, OpenParameters& parameters) {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::RemoteTerminalOpen";
  Json::Value input;
  if (!JsonReader().Parse(text, input)) {
    ORN_LOG(logging::kError, kFunction, L"Failed to parse the serializedInputParams json.");
    return false;
  }
  parameters.stream_id = JsonText(JsonMember(input, "streamId"));
  if (parameters.stream_id.empty()) return true;  // Of no use: nothing is said of the rest.

  const Json::Value& cols = JsonMember(JsonMember(input, "size"), "cols");
  const Json::Value& rows = JsonMember(JsonMember(input, "size"), "rows");
  if (IsJsonUInt(cols) && IsJsonUInt(rows)) {
    parameters.size = {.cols = JsonUInt(cols), .rows = JsonUInt(rows)};
  } else {
    ORN_LOG(logging::kNotice, kFunction,
            L"No size received, will create terminal with default 80x24.");
  }
  if (const Json::Value& timeout = JsonMember(input, "inactivityTimeout"); IsJsonUInt(timeout)) {
    parameters.inactivity_timeout = JsonUInt(timeout);
  } else {
    ORN_LOG(logging::kNotice, kFunction,
            L"No inactivityTimeout received, will create terminal with default 300 seconds "
            L"timeout.");
  }
  return true;
}

}  // namespace orn::RemoteAccess
