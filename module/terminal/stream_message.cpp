#include "module/terminal/stream_message.h"

#include <json/value.h>

#include "module/frame/log.h"

namespace orn::RemoteAccess {

StreamMessage ReadStreamMessage(const std::string& text, JsonReader& reader,
                                Base64ObjectImplementation& base64) {
  StreamMessage message;
  Json::Value json;
  if (!reader.Parse(text, json)) {
    ORN_LOG(logging::kError, L"orn::RemoteAccess::RemoteAccessAL::Terminal::OnMessage",
            L"Failed to parse the msgContent json.");
    return message;
  }
  const std::string type = JsonText(JsonMember(json, "type"));
  if (type == "data") {
    message.kind = StreamMessage::Kind::kData;
    base64.Decode(JsonText(JsonMember(JsonMember(json, "data"), "encodedBuffer")), message.bytes);
  } else if (type == "resize") {
    message.kind = StreamMessage::Kind::kResize;
    const Json::Value& resize = JsonMember(json, "resize");
    message.size = {.cols = JsonUInt(JsonMember(resize, "cols")),
                    .rows = JsonUInt(JsonMember(resize, "rows"))};
  } else if (type == "streamStop") {
    message.kind = StreamMessage::Kind::kStreamStop;
  } else if (type == "streamError") {
    message.kind = StreamMessage::Kind::kStreamError;
  }
  return message;
}

}  // namespace orn::RemoteAccess
