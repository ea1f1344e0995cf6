#include "host/console/main_window_manager.h"

#include <algorithm>
#include <atomic>
#include <string_view>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace host::console {
namespace {

using ConsoleIntegration::IAgent;

constexpr const wchar_t* kGetSessions = L"GetOngoingTerminalSessions";
constexpr std::wstring_view kSetSessions = L"SetActiveTerminalSessions";

}  // namespace

// One call. It is there until the call has both returned and been completed.
class MainWindowManager::Method final : public ConsoleIntegration::IMethod {
 public:
  Method(MainWindowManager& manager, std::wstring feature, uint64_t events)
      : manager_(manager), feature_(std::move(feature)), events_(events) {}
  Method(const Method&) = delete;
  Method& operator=(const Method&) = delete;
  virtual ~Method() = default;

  const wchar_t* GetName() override { return kGetSessions; }
  void Reserved1() override {}
  void Reserved2() override {}
  Json::Value* GetResult() override { return &result_; }
  void Complete(int32_t status) override {
    if (!completed_.exchange(true)) manager_.OnCompleted(*this, status);
  }

  const std::wstring& feature() const { return feature_; }
  // How many events of the feature had come when it was called.
  uint64_t events() const { return events_; }
  Json::Value& result() { return result_; }

  // Nobody uses it any more but the manager. Guarded by the manager's mutex.
  bool is_over = false;

 private:
  MainWindowManager& manager_;
  const std::wstring feature_;
  const uint64_t events_;
  Json::Value result_;
  std::atomic<bool> completed_{false};
};

MainWindowManager::MainWindowManager(std::function<void()> changed) : changed_(std::move(changed)) {
  thread_.Start(L"ConsoleMainWindow");
}

MainWindowManager::~MainWindowManager() = default;

void* MainWindowManager::GetInterface(const InterfaceId& id) {
  if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
  if (id == IManager::kInterfaceId) return static_cast<IManager*>(this);
  return nullptr;
}

uint32_t MainWindowManager::Register(IAgent* agent) {
  if (agent == nullptr) return error::kBadParameter;
  orn::StringT<wchar_t> name;
  agent->GetName(&name);
  if (name.empty()) return error::kBadParameter;
  const std::wstring feature(name.view());
  {
    const Lock lock(mutex_);
    Registration& registration = registrations_[feature];
    if (registration.agent != nullptr) return error::kAlreadyExists;
    registration.agent = agent;
  }
  thread_.Post([this, feature] { Call(feature); });
  return error::kSuccess;
}

uint32_t MainWindowManager::Unregister(IAgent* agent) {
  {
    Lock lock(mutex_);
    const auto found = std::ranges::find_if(
        registrations_, [&](const auto& each) { return each.second.agent == agent; });
    if (found == registrations_.end()) return error::kNotFound;
    // Its methods live as long as a call of it may use them.
    const auto gone = registrations_.extract(found);
    returned_.Wait(lock, [&] { return running_ != agent; });
  }
  changed_();
  return error::kSuccess;
}

uint32_t MainWindowManager::SendEvent(const wchar_t* feature, const wchar_t* method,
                                      const Json::Value& value) {
  if (feature == nullptr || method == nullptr) return error::kBadParameter;
  if (method != kSetSessions) return error::kUnknownMethod;
  {
    const Lock lock(mutex_);
    const auto found = registrations_.find(feature);
    if (found == registrations_.end()) return error::kNotFound;
    found->second.list = value;
    ++found->second.events;
  }
  changed_();
  return error::kSuccess;
}

void MainWindowManager::Ask() {
  const Lock lock(mutex_);
  for (const auto& each : registrations_)
    thread_.Post([this, feature = each.first] { Call(feature); });
}

Json::Value MainWindowManager::GetList(const std::wstring& feature) {
  const Lock lock(mutex_);
  const auto found = registrations_.find(feature);
  return found == registrations_.end() ? Json::Value() : found->second.list;
}

void MainWindowManager::Call(const std::wstring& feature) {
  IAgent* agent = nullptr;
  Method* method = nullptr;
  {
    const Lock lock(mutex_);
    const auto found = registrations_.find(feature);
    if (found == registrations_.end()) return;
    Registration& registration = found->second;
    agent = registration.agent;
    // Those that were completed after their calls had returned.
    std::erase_if(registration.methods, [](const auto& each) { return each->is_over; });
    registration.methods.push_back(std::make_unique<Method>(*this, feature, registration.events));
    method = registration.methods.back().get();
    running_ = agent;
  }
  agent->RunMethod(method);
  const Lock lock(mutex_);
  running_ = nullptr;
  returned_.NotifyAll();
}

void MainWindowManager::OnCompleted(Method& method, int32_t status) {
  if (status != 0) {
    ORN_LOG(logging::kWarning, L"host::console::MainWindowManager::OnCompleted",
            L"%s of %s failed: [%d]", kGetSessions, method.feature().c_str(), status);
  }
  {
    const Lock lock(mutex_);
    method.is_over = true;
    const auto found = registrations_.find(method.feature());
    if (status != 0 || found == registrations_.end() || found->second.events != method.events()) {
      return;
    }
    found->second.list = std::move(method.result());
  }
  changed_();
}

}  // namespace host::console
