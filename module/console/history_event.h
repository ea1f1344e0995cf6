#pragma once

#include <cstdint>

#include "module/console/history_utils.h"

// The feature's events in the history.
namespace orn::RemoteAccess::Console {

class HistoryEvent : public HistoryUtils::EventDecoderBase {
 public:
  const wchar_t* GetFeatureName() const override { return L"RemoteAccess"; }
};

// A shell session has ended. Its record has these under the keys 2 and 3, behind the event's id and
// version.
class OnEndTerminalSession : public HistoryEvent {
 public:
  int32_t version = 0;
  int64_t start_timestamp = 0;  // seconds since 1970, as below; 0 where it is not known
  int64_t end_timestamp = 0;

  int32_t GetEventId() const override { return 0; }
  int32_t GetEventVersion() const override { return version; }
  bool Decode(const wchar_t* feature, const IHistory::Event::Data& data) override;
  bool Encode() override;
};

}  // namespace orn::RemoteAccess::Console
