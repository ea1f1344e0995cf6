#include "host/console/watch.h"

#include <json/value.h>
#include <json/writer.h>

#include "module/frame/handle.h"
#include "module/frame/utf.h"

namespace host::console {
namespace {

std::string Utf8(const std::wstring& text) {
  return std::string(orn::ToUtf8(text).view());
}

struct Listener final : IConsoleState::IListener {
  void OnChanged() override { SetEvent(changed.get()); }

  const orn::UniqueHandle changed{CreateEventW(/*security=*/nullptr, /*manualReset=*/FALSE,
                                               /*signalled=*/TRUE, /*name=*/nullptr)};
};

}  // namespace

std::string DescribeState(IConsoleState& state) {
  Json::Value line;
  line["service"] = state.IsServiceThere();
  line["sessions"] = Json::arrayValue;
  for (const OpenSession& each : state.GetSessions()) {
    Json::Value session;
    session["id"] = Utf8(each.id);
    session["name"] = Utf8(each.name);
    session["description"] = Utf8(each.description);
    line["sessions"].append(session);
  }
  Json::Value& starts = line["banner"]["sessions"] = Json::arrayValue;
  for (const int64_t start : state.GetSessionStarts()) {
    Json::Value session;
    session["startTimestamp"] = Json::Int64(start);
    starts.append(session);
  }
  Json::Value& history = line["history"];
  history["size"] = Json::UInt64(state.GetHistorySize());
  history["newest"] = Json::nullValue;
  for (const HistoryLine& each : state.ReadHistory(/*first=*/0, /*count=*/1)) {
    Json::Value& newest = history["newest"];
    newest["sequence"] = Json::Int64(each.sequence);
    newest["time"] = Json::Int64(each.time);
    newest["title"] = Utf8(each.title);
    newest["details"] = Utf8(each.details);
  }
  line["language"] = Utf8(state.GetLanguage());
  return Json::FastWriter().write(line);
}

void Watch(IConsoleState& state, HANDLE stop,
           const std::function<bool(const std::string&)>& print) {
  Listener listener;
  state.SetListener(&listener);
  const HANDLE handles[] = {stop, listener.changed.get()};
  std::string last;
  while (WaitForMultipleObjects(2, handles, /*waitAll=*/FALSE, INFINITE) != WAIT_OBJECT_0) {
    std::string line = DescribeState(state);
    if (line == last) continue;
    if (!print(line)) break;
    last = std::move(line);
  }
  state.SetListener(nullptr);
}

}  // namespace host::console
