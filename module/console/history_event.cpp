#include "module/console/history_event.h"

namespace orn::RemoteAccess::Console {
namespace {

constexpr int32_t kStart = 2;
constexpr int32_t kEnd = 3;

}  // namespace

bool OnEndTerminalSession::Decode(const wchar_t* feature, const IHistory::Event::Data& data) {
  if (!Matches(feature, data) || !ReadEventVersion(data, &version)) return false;
  Assign(data);
  return Read(data, kStart, &start_timestamp) && Read(data, kEnd, &end_timestamp);
}

bool OnEndTerminalSession::Encode() {
  return Write(kStart, start_timestamp) && Write(kEnd, end_timestamp) && WriteEventId() &&
         WriteEventVersion();
}

}  // namespace orn::RemoteAccess::Console
