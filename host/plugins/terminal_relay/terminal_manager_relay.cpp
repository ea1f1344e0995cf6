#include "host/plugins/terminal_relay/terminal_manager_relay.h"

#include <algorithm>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kWorkerReturn{10'000};
// A call fails a moment before its worker's end is told.
constexpr milliseconds kNews{1'000};

}  // namespace

using orn::RemoteTerminal::TerminalSize;

TerminalManagerRelay::~TerminalManagerRelay() {
  Stop();
}

void* TerminalManagerRelay::GetInterface(const InterfaceId& id) {
  if (id == IRemoteTerminalManager::kInterfaceId) return static_cast<IRemoteTerminalManager*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t TerminalManagerRelay::Init(IServMain* main) {
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  session_ends_.GetPlugin(manager);
  client_.GetPlugin(manager);
  return manager_.GetPlugin(manager) != nullptr ? 0
                                                : static_cast<int32_t>(error::kMissingDependency);
}

void TerminalManagerRelay::UnInit() {
  client_.Release();
  manager_.Release();
  session_ends_.Release();
}

int32_t TerminalManagerRelay::Start() {
  stopping_ = false;
  thread_ = std::thread([this] {
    orn::SetThreadName(L"Terminal notifications");
    Run();
  });
  if (client_) client_->register_notifications(this);
  return static_cast<int32_t>(manager_->Register(this));
}

void TerminalManagerRelay::Stop() {
  if (!thread_.joinable()) return;
  manager_->Unregister(this);
  if (client_) client_->unregister_notifications(this);
  {
    const Lock lock(mutex_);
    stopping_ = true;
    changed_.NotifyAll();
  }
  thread_.join();
}

uint32_t TerminalManagerRelay::OpenTerminal(const Id& id, const TerminalSize& size,
                                            orn::StringT<wchar_t>& coninName,
                                            orn::StringT<wchar_t>& conoutName) {
  if (!client_) return manager_->OpenTerminal(id, size, coninName, conoutName);
  const Clock::time_point deadline = Clock::now() + kWorkerReturn;
  for (;;) {
    const uint64_t gone = WorkersGone();
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
    if (!client_->is_connected(nullptr) && left.count() > 0) {
      client_->wait_for_connection(static_cast<uint32_t>(left.count()));
    }
    const uint32_t status = manager_->OpenTerminal(id, size, coninName, conoutName);
    const bool unanswered = status == error::kNotConnected || status == error::kTimeout;
    if (!unanswered || Clock::now() >= deadline || !HasGoneSince(gone)) return status;
  }
}

void TerminalManagerRelay::on_server_connected(int) {}

void TerminalManagerRelay::on_server_disconnected(int) {
  const Lock lock(mutex_);
  ++workers_gone_;
  changed_.NotifyAll();
}

uint64_t TerminalManagerRelay::WorkersGone() {
  const Lock lock(mutex_);
  return workers_gone_;
}

bool TerminalManagerRelay::HasGoneSince(uint64_t known) {
  Lock lock(mutex_);
  return changed_.WaitUntil(lock, Clock::now() + kNews, [&] { return workers_gone_ != known; });
}

void TerminalManagerRelay::CloseTerminal(const Id& id) {
  manager_->CloseTerminal(id);
}

uint32_t TerminalManagerRelay::SetSize(const Id& id, const TerminalSize& size) {
  return manager_->SetSize(id, size);
}

uint32_t TerminalManagerRelay::Register(Subscriber* subscriber) {
  if (subscriber == nullptr) return error::kBadParameter;
  const Lock lock(mutex_);
  if (std::find(subscribers_.begin(), subscribers_.end(), subscriber) != subscribers_.end()) {
    return error::kFailed;
  }
  subscribers_.push_back(subscriber);
  return error::kSuccess;
}

uint32_t TerminalManagerRelay::Unregister(Subscriber* subscriber) {
  Lock lock(mutex_);
  if (std::erase(subscribers_, subscriber) == 0) return error::kFailed;
  std::erase_if(queue_, [subscriber](const Notification& notification) {
    return notification.subscriber == subscriber;
  });
  if (thread_.get_id() != std::this_thread::get_id()) {
    changed_.Wait(lock, [&] { return running_ != subscriber; });
  }
  return error::kSuccess;
}

void TerminalManagerRelay::OnTerminalClosed(const Id& id) {
  const Lock lock(mutex_);
  for (Subscriber* const subscriber : subscribers_)
    queue_.push_back({subscriber, id});
  changed_.NotifyAll();
}

void TerminalManagerRelay::Run() {
  Lock lock(mutex_);
  for (;;) {
    changed_.Wait(lock, [this] { return stopping_ || !queue_.empty(); });
    if (stopping_) return;
    const Notification notification = std::move(queue_.front());
    queue_.pop_front();
    running_ = notification.subscriber;
    lock.unlock();
    if (!session_ends_ || session_ends_->MayTellEnd(notification.id.c_str())) {
      notification.subscriber->OnTerminalClosed(notification.id);
    }
    lock.lock();
    running_ = nullptr;
    changed_.NotifyAll();
  }
}

}  // namespace host
