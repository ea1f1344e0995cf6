#include "host/console/tasks_manager.h"

#include <algorithm>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/thread_name.h"

namespace host::console {

using ::Console::Tasks::Task;

TasksManager::TasksManager(std::function<void()> asked, std::chrono::milliseconds check)
    : asked_(std::move(asked)), check_(check), thread_([this] {
        orn::SetThreadName(L"ConsoleTasks");
        Run();
      }) {}

TasksManager::~TasksManager() {
  {
    const Lock lock(mutex_);
    stopping_ = true;
    changed_.NotifyAll();
  }
  thread_.join();
}

void* TasksManager::GetInterface(const InterfaceId& id) {
  if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
  if (id == IManager::kInterfaceId) return static_cast<IManager*>(this);
  return nullptr;
}

TasksManager::Entries::iterator TasksManager::FindLocked(const orn::StringT<wchar_t>& id) {
  return std::ranges::find_if(entries_, [&](const Entry& entry) { return entry.task.id == id; });
}

void TasksManager::ChangedLocked() {
  ++changes_;
  refresh_ = true;
  changed_.NotifyAll();
}

uint32_t TasksManager::AddTask(const Task& task, uint32_t) {
  if (task.id.empty()) return error::kBadParameter;
  {
    const Lock lock(mutex_);
    if (const auto found = FindLocked(task.id); found != entries_.end()) {
      found->task = task;
    } else {
      entries_.push_back({.task = task, .provider = {}});
    }
    ChangedLocked();
  }
  asked_();
  return error::kSuccess;
}

uint32_t TasksManager::RemoveTask(const wchar_t* id) {
  if (id == nullptr) return error::kBadParameter;
  {
    const Lock lock(mutex_);
    // Also where it is unknown: the answer that is on its way may still have it.
    ChangedLocked();
    const auto found = FindLocked(id);
    if (found == entries_.end()) return error::kNotFound;
    entries_.erase(found);
  }
  asked_();
  return error::kSuccess;
}

uint32_t TasksManager::RegisterProvider(const wchar_t* name,
                                        ::Console::Tasks::ITasksProvider* provider) {
  if (name == nullptr || provider == nullptr) return error::kBadParameter;
  const Lock lock(mutex_);
  if (!providers_.emplace(name, provider).second) return error::kAlreadyExists;
  ChangedLocked();
  return error::kSuccess;
}

uint32_t TasksManager::UnregisterProvider(const wchar_t* name) {
  if (name == nullptr) return error::kBadParameter;
  {
    Lock lock(mutex_);
    if (providers_.erase(name) == 0) return error::kNotFound;
    ChangedLocked();
    changed_.Wait(lock, [&] { return running_ != name; });
    // What nobody has confirmed may be its own, too.
    std::erase_if(entries_, [&](const Entry& entry) {
      return entry.provider == name || entry.provider.empty();
    });
  }
  asked_();
  return error::kSuccess;
}

std::vector<Task> TasksManager::GetTasks() {
  const Lock lock(mutex_);
  std::vector<Task> tasks;
  for (const Entry& entry : entries_)
    tasks.push_back(entry.task);
  return tasks;
}

void TasksManager::Refresh() {
  const Lock lock(mutex_);
  refresh_ = true;
  changed_.NotifyAll();
}

void TasksManager::Run() {
  Lock lock(mutex_);
  for (;;) {
    const auto deadline = entries_.empty() ? Clock::time_point::max() : Clock::now() + check_;
    changed_.WaitUntil(lock, deadline, [this] { return refresh_ || stopping_; });
    if (stopping_) return;
    refresh_ = false;
    Entries answers;
    if (!AskLocked(lock, answers)) continue;
    KeepOrderLocked(answers);
    entries_ = std::move(answers);
    lock.unlock();
    asked_();
    lock.lock();
  }
}

void TasksManager::KeepOrderLocked(Entries& answers) const {
  const auto place = [this](const Entry& answer) {
    return std::ranges::find_if(
               entries_, [&](const Entry& entry) { return entry.task.id == answer.task.id; }) -
           entries_.begin();
  };
  std::ranges::stable_sort(answers, {}, place);
}

bool TasksManager::AskLocked(Lock& lock, Entries& answers) {
  const uint64_t changes = changes_;
  const auto providers = providers_;
  for (const auto& [name, provider] : providers) {
    running_ = name;
    lock.unlock();
    std::vector<Task> tasks;
    provider->GetTasks(tasks);
    lock.lock();
    running_.clear();
    changed_.NotifyAll();
    if (changes != changes_ || stopping_) return false;
    for (Task& task : tasks) {
      answers.push_back({.task = std::move(task), .provider = name});
    }
  }
  return true;
}

}  // namespace host::console
