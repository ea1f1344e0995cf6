#include "host/plugins/telemetry/product_matrix.h"

#include <chrono>
#include <string>

#include "host/common/host_configuration.h"
#include "module/frame/error_codes.h"
#include "module/frame/json.h"
#include "module/frame/log.h"

namespace host {

namespace {

constexpr uint64_t kSpoolFileBytes = 1024 * 1024;

int64_t Now() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

void* ProductMatrix::GetInterface(const InterfaceId& id) {
  if (id == ITelemetry::kInterfaceId) return static_cast<ITelemetry*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t ProductMatrix::Init(IServMain* main) {
  const LogFunctionTrace trace(L"Product.Matrix::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(manager) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  const wchar_t* const option = configuration->GetOption(L"Product.Matrix", L"spool");
  const std::wstring folder = option != nullptr
                                  ? std::wstring(configuration->ResolvePath(option))
                                  : std::wstring(configuration->GetDataFolder()) + L"\\telemetry";
  spool_ = std::make_unique<EventSpool>(folder, L"events", kSpoolFileBytes);
  if (channel_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kNotice, trace.function(), L"No connector: events stay in the spool.");
  }
  return 0;
}

void ProductMatrix::UnInit() {
  channel_.Release();
}

uint32_t ProductMatrix::Send(const Json::Value& event, uint32_t) {
  Json::Value line(Json::objectValue);
  line["time"] = Json::Int64{Now()};
  line["event"] = event;
  const uint32_t result = spool_->Append(orn::JsonWriter().Write(line));
  if (result != 0) {
    ORN_LOG(logging::kError, L"Product.Matrix::Send", L"An event is not spooled. Error: %d.",
            result);
  }
  const std::string name = orn::JsonText(orn::JsonMember(event, "event_name"));
  if (channel_ && !name.empty()) channel_->TrySendEvent(name, event);
  return result;
}

}  // namespace host
