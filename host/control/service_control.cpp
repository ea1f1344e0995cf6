#include "host/control/service_control.h"

#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host {

ServiceControl::~ServiceControl() {
  StopWatching();
}

void* ServiceControl::GetInterface(const InterfaceId& id) {
  if (id == EndpointService::IControl::kInterfaceId) {
    return static_cast<EndpointService::IControl*>(this);
  }
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t ServiceControl::Init(IServMain*) {
  const uint32_t status = presence_.Open(name_);
  if (status != 0) {
    ORN_LOG(logging::kWarning, L"host::ServiceControl::Init", L"Host [%s] cannot be looked at: %u",
            name_.c_str(), status);
  }
  return static_cast<int32_t>(status);
}

void ServiceControl::Stop() {
  StopWatching();
}

uint32_t ServiceControl::Stop(uint32_t timeout) {
  if (presence_.IsDeclaredHere()) return 0;
  bool running = false;
  if (const uint32_t status = presence_.RequestStop(running); status != 0) return status;
  if (!running) return 0;
  switch (WaitForSingleObject(presence_.life(), timeout)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:
      ReleaseMutex(presence_.life());
      return 0;
    case WAIT_TIMEOUT:
      return error::kTimeout;
    default:
      return GetLastError();
  }
}

uint32_t ServiceControl::IsRunning(uint32_t* running) {
  if (running == nullptr) return error::kBadParameter;
  bool is_running = false;
  const uint32_t status = presence_.IsRunning(is_running);
  *running = is_running ? 1 : 0;
  return status;
}

uint32_t ServiceControl::Register(IEvents* observer, uint32_t) {
  if (observer == nullptr) return error::kBadParameter;
  if (const uint32_t status = observers_.Add(observer); status != 0) return status;
  const uint32_t status = StartWatching();
  if (status != 0) observers_.Remove(observer);
  return status;
}

uint32_t ServiceControl::Unregister(IEvents* observer, uint32_t) {
  return observers_.Remove(observer);
}

uint32_t ServiceControl::StartWatching() {
  const std::lock_guard lock(mutex_);
  if (watcher_.joinable()) return 0;
  // The state before the thread runs: a change from here on is a change to tell.
  bool running = false;
  if (const uint32_t status = presence_.IsRunning(running); status != 0) return status;
  quit_.reset(CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, nullptr));
  if (!quit_) return GetLastError();
  watcher_ = std::thread(&ServiceControl::Watch, this, running);
  return 0;
}

void ServiceControl::StopWatching() {
  const std::lock_guard lock(mutex_);
  if (!watcher_.joinable()) return;
  SetEvent(quit_.get());
  watcher_.join();
}

void ServiceControl::Watch(bool running) {
  orn::SetThreadName(L"HostWatcher");
  for (;;) {
    const HANDLE objects[] = {quit_.get(), running ? presence_.life() : presence_.started()};
    const DWORD result = WaitForMultipleObjects(2, objects, /*waitAll=*/FALSE, INFINITE);
    if (result == WAIT_OBJECT_0 || result == WAIT_FAILED) return;
    if (running) {
      ReleaseMutex(presence_.life());
      running = false;
    } else if (presence_.IsRunning(running) != 0 || !running) {
      continue;  // It has died since, or before; the event was taken back.
    }
    state_changed_.Fire(running ? EndpointService::IControl::kRunning
                                : EndpointService::IControl::kStopped);
  }
}

}  // namespace host
