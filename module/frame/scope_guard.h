#pragma once

#include <utility>

namespace orn {

// Takes back what was done so far unless it is to stay:
//
//   ScopeGuard undo([&] { storage.CancelUpload(id); });
//   ...
//   undo.Dismiss();
template <class Action>
class [[nodiscard]] ScopeGuard {
 public:
  explicit ScopeGuard(Action action) : action_(std::move(action)) {}
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;
  ~ScopeGuard() {
    if (armed_) action_();
  }

  void Dismiss() noexcept { armed_ = false; }

 private:
  Action action_;
  bool armed_ = true;
};

}  // namespace orn
