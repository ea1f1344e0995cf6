#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "module/frame/easy_event_queue.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/persistent_handlers.h"
#include "module/rpc/delayed_event.h"

namespace orn::Signal {

struct SignalSettings {
  // Events that are kept for each listener; beyond it the oldest go. 0 is no limit.
  size_t queue_limit = 16;
  // How long a named listener may be away.
  std::chrono::seconds timeout{300};
  // The time in seconds.
  std::function<int64_t()> now = [] { return int64_t{std::time(nullptr)}; };
};

// Listeners on an interface `T`, of which those with a name outlive their registration:
//
//   PersistentSignal<notifications> signal_;
//   ...
//   signal_.Register(handler, "");                      // hears what happens while it is here
//   signal_.Invoke(connected_, pid);
//   signal_.Unregister([&](notifications* each) { return each == handler; });
//
// After Persist, events that fire while a named listener is away are kept for it, and it hears them
// in order when one of its name registers again. One that does not come back in time is dropped.
//
// Any thread. Handlers run under the signal's lock: they must not call it. Nobody calls it any more
// when it is destroyed.
template <class T>
class PersistentSignal {
 public:
  explicit PersistentSignal(SignalSettings settings = {}) : settings_(std::move(settings)) {}
  PersistentSignal(const PersistentSignal&) = delete;
  PersistentSignal& operator=(const PersistentSignal&) = delete;
  ~PersistentSignal() {
    queue_.Detach();
    plugin_.Release();
  }

  // Makes names count; before any other call, and once. `channel` names the signal in the agent and
  // is not empty. `service` delivers what was kept. With `manager`, which may be null, names are
  // carried across a restart: listeners of the run before are away from now on. Both outlive the
  // signal.
  void Persist(std::string channel, IEventQueue* service, IComponentManager* manager);

  // `handler` is not owned; stays until Unregister. An empty `id` is an anonymous listener. False
  // for a null handler.
  bool Register(T* handler, const std::string& id);

  // Takes the first listener that is here and that `predicate` accepts, given the handler's
  // pointer. When this has returned, that handler is called no more. False where there is none.
  template <class Predicate>
  bool Unregister(Predicate predicate);

  // Calls the operation on each listener in order of arrival, on this thread; keeps the event for
  // those that are away or have not heard earlier ones yet.
  template <class Function>
  void Invoke(const Event<Function>& event, typename Function::Argument argument);

 private:
  struct Handler {
    Handler(T* listener, std::string name, int64_t time)
        : seen(time), handler(listener), id(std::move(name)) {}
    Handler(Handler&&) = default;
    Handler& operator=(Handler&&) = default;
    ~Handler() { *static_cast<volatile char*>(marker) = 'x'; }

    char marker[15] = "sg.handlerData";  // The use of a dead record shows in a memory dump.
    int64_t seen;                        // When it was added, or when it last left.
    T* handler;                          // Null while the listener is away.
    std::string id;                      // Empty for an anonymous one.
    std::deque<std::shared_ptr<IDelayedEvent<T>>> pending;
  };

  static constexpr uint32_t kTimeoutCheck = 60'000;  // milliseconds

  bool KeepsNames() const { return persistent_ && !channel_.empty(); }
  void RestoreLocked(IComponentManager* manager);
  void ScheduleOnHandler() {
    queue_.AddTask([this] { OnHandler(); }).Release();
  }
  void ScheduleOnTimeout() {
    queue_.AddDelayedTask([this] { OnTimeout(); }, kTimeoutCheck).Release();
  }
  void OnHandler();
  void OnTimeout();

  const logging::LogReference log_;
  const SignalSettings settings_;

  // Fixed after Persist.
  ServPlugin<detail::IPesistentHandlers> plugin_{L"Product.PersistentHandlers"};  // May be empty.
  std::string channel_;
  bool persistent_ = false;
  EasyEventQueue queue_;

  std::mutex mutex_;
  std::vector<Handler> handlers_;  // Guarded by mutex_; in order of arrival.
};

template <class T>
void PersistentSignal<T>::Persist(std::string channel, IEventQueue* service,
                                  IComponentManager* manager) {
  const std::lock_guard lock(mutex_);
  channel_ = std::move(channel);
  persistent_ = true;
  queue_.Attach(service, L"orn::Signal::PersistentSignal");
  if (manager == nullptr || plugin_.GetPlugin(manager) == nullptr) return;
  RestoreLocked(manager);
}

template <class T>
void PersistentSignal<T>::RestoreLocked(IComponentManager* manager) {
  ServPlugin<detail::IPersistedNames> names(L"Product.PersistentHandlers");
  if (names.GetPlugin(manager) == nullptr) return;
  names->ForEach(
      channel_.c_str(),
      [](const char* id, void* signal) {
        auto& self = *static_cast<PersistentSignal*>(signal);
        self.handlers_.emplace_back(nullptr, id, self.settings_.now());
      },
      this);
  if (!handlers_.empty()) ScheduleOnTimeout();
}

template <class T>
bool PersistentSignal<T>::Register(T* handler, const std::string& id) {
  const LogFunctionTrace trace(L"orn::Signal::PersistentSignal::Register");
  ORN_LOG(logging::kTrace, trace.function(),
          L"Registration request on channel [%S] for handler [%S]", channel_.c_str(), id.c_str());
  const std::lock_guard lock(mutex_);
  if (handler == nullptr) return false;
  if (id.empty()) {
    ORN_LOG(logging::kTrace, trace.function(), L"Adding an anonymous handler. Don't track it");
    handlers_.emplace_back(handler, id, settings_.now());
    return true;
  }
  for (Handler& known : handlers_) {
    if (known.handler != nullptr || known.id != id) continue;
    ORN_LOG(logging::kTrace, trace.function(),
            L"Found handler data. Schedule to receive events for it");
    known.handler = handler;
    if (KeepsNames()) ScheduleOnHandler();
    return true;
  }
  ORN_LOG(logging::kTrace, trace.function(),
          L"Looks like a new handler. Id: [%S]. Add and track it", id.c_str());
  handlers_.emplace_back(handler, id, settings_.now());
  if (plugin_) plugin_->Add(channel_.c_str(), id.c_str());
  return true;
}

template <class T>
template <class Predicate>
bool PersistentSignal<T>::Unregister(Predicate predicate) {
  const LogFunctionTrace trace(L"orn::Signal::PersistentSignal::Unregister");
  const std::lock_guard lock(mutex_);
  for (auto it = handlers_.begin(); it != handlers_.end(); ++it) {
    if (it->handler == nullptr || !predicate(it->handler)) continue;
    ORN_LOG(logging::kTrace, trace.function(),
            L"Unregistration request on channel [%S] for handler [%S]", channel_.c_str(),
            it->id.c_str());
    if (it->id.empty() || !KeepsNames()) {
      handlers_.erase(it);
    } else {
      it->handler = nullptr;
      it->seen = settings_.now();
      ScheduleOnTimeout();
    }
    return true;
  }
  return false;
}

template <class T>
template <class Function>
void PersistentSignal<T>::Invoke(const Event<Function>& event,
                                 typename Function::Argument argument) {
  using Delayed =
      DelayedEvent<typename Function::Member, std::decay_t<typename Function::Argument>>;
  const LogFunctionTrace trace(L"orn::Signal::PersistentSignal::Invoke");
  const std::lock_guard lock(mutex_);
  std::shared_ptr<IDelayedEvent<T>> delayed;
  for (Handler& each : handlers_) {
    if (each.handler != nullptr && each.pending.empty()) {
      (each.handler->*event.GetMember())(argument);
      continue;
    }
    if (settings_.queue_limit != 0 && each.pending.size() >= settings_.queue_limit) {
      ORN_LOG(logging::kWarning, trace.function(),
              L"Event queue full for handler [%S]. Dropping older events.", each.id.c_str());
      each.pending.pop_front();
    }
    if (delayed == nullptr) delayed = std::make_shared<Delayed>(event.GetMember(), argument);
    each.pending.push_back(delayed);
    ORN_LOG(logging::kTrace, trace.function(), L"Queueing event for Handler: [%S]",
            each.id.c_str());
  }
}

template <class T>
void PersistentSignal<T>::OnHandler() {
  const LogFunctionTrace trace(L"orn::Signal::PersistentSignal::OnHandler");
  const std::lock_guard lock(mutex_);
  for (Handler& each : handlers_) {
    if (each.handler == nullptr || each.pending.empty()) continue;
    ORN_LOG(logging::kTrace, trace.function(),
            L"Invoking for handler because is non-null and have [%zu] events", each.pending.size());
    for (const auto& event : each.pending)
      event->Deliver(each.handler);
    each.pending.clear();
  }
}

template <class T>
void PersistentSignal<T>::OnTimeout() {
  const LogFunctionTrace trace(L"orn::Signal::PersistentSignal::OnTimeout");
  const int64_t now = settings_.now();
  const auto timeout = static_cast<int64_t>(settings_.timeout.count());
  bool somebody_away = false;
  const std::lock_guard lock(mutex_);
  for (auto it = handlers_.begin(); it != handlers_.end();) {
    if (it->handler != nullptr) {
      ++it;
    } else if (it->seen + timeout <= now) {
      ORN_LOG(logging::kNotice, trace.function(),
              L"Handler seems missing. ID: [%S], Seen: [%zu], timeout: [%lld], now: [%lld]",
              it->id.c_str(), static_cast<size_t>(it->seen), timeout, now);
      if (plugin_) plugin_->Remove(channel_.c_str(), it->id.c_str());
      it = handlers_.erase(it);
    } else {
      somebody_away = true;
      ++it;
    }
  }
  if (somebody_away) ScheduleOnTimeout();
}

}  // namespace orn::Signal
