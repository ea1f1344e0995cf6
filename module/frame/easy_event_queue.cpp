#include "module/frame/easy_event_queue.h"

#include "module/frame/error_codes.h"

namespace orn {

// A function as the service takes it.
class EasyEventQueue::detailEq::WorkItem final : public EqWorkItem {
 public:
  explicit WorkItem(Function function) : function_(std::move(function)) {}

  void Destroy() override { delete this; }
  void Run() override { function_(); }

 private:
  const Function function_;
};

namespace {

struct DestroyItem {
  void operator()(EqWorkItem* item) const { item->Destroy(); }
};
using UniqueItem = std::unique_ptr<EqWorkItem, DestroyItem>;

}  // namespace

void EasyEventQueue::Attach(IEventQueue* service, std::wstring name) {
  Detach();
  name_ = name.empty() ? L"orn::EasyEventQueue" : std::move(name);
  service_ = service;
  if (service_ != nullptr) service_->CreateGroup(&group_);
}

void EasyEventQueue::Detach() {
  if (group_ != nullptr) {
    group_->Cancel();
    group_->Wait(IEventQueue::kForever);
    service_->DestroyGroup(group_);
    group_ = nullptr;
  }
  if (loaded_ != nullptr) {
    service_->Stop();
    loaded_.reset();
  }
  service_ = nullptr;
}

EasyEventQueue::Task EasyEventQueue::AddTask(Function main, Function cancel) {
  if (group_ == nullptr) return {};
  UniqueItem main_item(new detailEq::WorkItem(std::move(main)));
  UniqueItem cancel_item(cancel ? new detailEq::WorkItem(std::move(cancel)) : nullptr);
  EqTask* id = nullptr;
  if (service_->Queue(name_.c_str(), &id, main_item.get(), cancel_item.get(), 0, 0) !=
      error::kSuccess) {
    return {};
  }
  static_cast<void>(main_item.release());
  static_cast<void>(cancel_item.release());
  group_->Track(id);
  return {service_, id};
}

EasyEventQueue::Task EasyEventQueue::AddDelayedTask(Function main, uint32_t delay,
                                                    uint32_t repeat) {
  if (group_ == nullptr) return {};
  UniqueItem item(new detailEq::WorkItem(std::move(main)));
  EqTask* id = nullptr;
  if (service_->QueueDelayed(name_.c_str(), &id, item.get(), delay, repeat, /*options=*/0) !=
      error::kSuccess) {
    return {};
  }
  static_cast<void>(item.release());
  group_->Track(id);
  return {service_, id};
}

bool EasyEventQueue::AddSerialTask(const Key& key, Function main, Function cancel) {
  return serial_.Add(*this, key, std::move(main), std::move(cancel));
}

}  // namespace orn
