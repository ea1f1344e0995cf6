#include "host/plugins/link/json_message.h"

#include "module/frame/json.h"

namespace host::link {

Json::Value NewMessage(const char* type) {
  Json::Value message(Json::objectValue);
  message["type"] = type;
  return message;
}

std::string MessageText(const Json::Value& message) {
  orn::JsonWriter writer;
  writer.OmitEndingLineFeed();
  return writer.Write(message);
}

}  // namespace host::link
