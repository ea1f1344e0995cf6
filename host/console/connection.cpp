#include "host/console/connection.h"

#include <algorithm>

#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::console {

void Connection::Start() {
  client_.register_notifications(this);
  uint32_t pid = 0;
  const bool connected = client_.is_connected(&pid);
  {
    const Lock lock(mutex_);
    // A notification knows better.
    if (connected && !told_) {
      there_ = true;
      pid_ = static_cast<int>(pid);
      ++arrivals_;
    }
  }
  thread_ = std::thread([this] {
    orn::SetThreadName(L"ConsoleConnection");
    Run();
  });
}

void Connection::Stop() {
  if (!thread_.joinable()) return;
  client_.unregister_notifications(this);
  {
    const Lock lock(mutex_);
    stopping_ = true;
    changed_.NotifyAll();
  }
  thread_.join();
}

bool Connection::IsThere() {
  const Lock lock(mutex_);
  return there_;
}

void Connection::CheckSoon() {
  const Lock lock(mutex_);
  next_check_ = std::min(next_check_, Clock::now() + check_);
  changed_.NotifyAll();
}

void Connection::on_server_connected(int pid) {
  const Lock lock(mutex_);
  told_ = true;
  // The one that was there when this began.
  if (there_ && pid == pid_) return;
  there_ = true;
  pid_ = pid;
  ++arrivals_;
  next_begin_ = {};
  changed_.NotifyAll();
}

void Connection::on_server_disconnected(int) {
  const Lock lock(mutex_);
  told_ = true;
  there_ = false;
  changed_.NotifyAll();
}

bool Connection::IsDueLocked() const {
  const uint64_t target = there_ && !stopping_ ? arrivals_ : 0;
  return stopping_ || (served_ != 0 && served_ != target) ||
         (served_ == 0 && target != 0 && Clock::now() >= next_begin_) ||
         (served_ != 0 && Clock::now() >= next_check_);
}

void Connection::Run() {
  constexpr const wchar_t* kFunction = L"host::console::Connection::Run";
  Lock lock(mutex_);
  for (;;) {
    while (!IsDueLocked()) {
      const bool retries = served_ == 0 && there_;
      changed_.WaitOnce(lock, served_ != 0 ? next_check_
                              : retries    ? next_begin_
                                           : Clock::time_point::max());
    }
    if (served_ != 0 && (stopping_ || !there_ || served_ != arrivals_)) {
      ORN_LOG(logging::kNotice, kFunction, L"The service has gone");
      lock.unlock();
      work_.End();
      lock.lock();
      served_ = 0;
    } else if (stopping_) {
      return;
    } else if (served_ == 0) {
      const uint64_t arrival = arrivals_;
      ORN_LOG(logging::kNotice, kFunction, L"The service is there");
      lock.unlock();
      const bool begun = work_.Begin();
      lock.lock();
      if (begun) served_ = arrival;
      (begun ? next_check_ : next_begin_) = Clock::now() + (begun ? check_ : retry_);
    } else {
      next_check_ = Clock::time_point::max();
      lock.unlock();
      work_.Check();
      lock.lock();
    }
  }
}

}  // namespace host::console
