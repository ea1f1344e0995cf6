#include "host/plugins/integration/policy_calls.h"

#include <exception>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"

namespace host::integration {

namespace {

constexpr size_t kMostWaitingCalls = 64;

int32_t Status(uint32_t code) {
  return static_cast<int32_t>(code);
}

// One call while its agent has it.
class PolicyMethodCall final : public EnterpriseIntegration::IPolicyMethodCall {
 public:
  PolicyMethodCall(PolicyMessage& call, link::Outbox& outbox)
      : call_(call), outbox_(outbox), method_(orn::ToWide(call.method)) {}

  const wchar_t* GetMethodName() override { return method_.c_str(); }
  const wchar_t* GetDisplayName() override { return method_.c_str(); }
  Json::Value* GetInput() override { return call_.input ? &*call_.input : nullptr; }
  Json::Value* GetOutput() override { return &output_; }

  void Complete(int32_t status) override {
    if (completed_.exchange(true)) return;
    std::string text = PolicyReplyMessage(call_.id, status, output_);
    if (text.size() > kLongestMessage) {
      ORN_LOG(logging::kWarning, L"PolicyMethodCall::Complete",
              L"The output of a policy method is too long: %llu bytes.", uint64_t{text.size()});
      text = PolicyReplyMessage(call_.id, Status(error::kNotEnoughMemory), EmptyObject());
    }
    outbox_.Push(std::move(text), link::Outbox::Kind::kAnswer);
  }

  // The answer where none of its agent's has come.
  void Fail(uint32_t code) {
    if (completed_) return;
    output_ = EmptyObject();
    Complete(Status(code));
  }

 private:
  static Json::Value EmptyObject() { return Json::Value(Json::objectValue); }

  PolicyMessage& call_;
  link::Outbox& outbox_;
  const orn::StringT<wchar_t> method_;
  Json::Value output_ = EmptyObject();
  std::atomic<bool> completed_ = false;
};

// Counts a call for as long as it waits.
class Ticket {
 public:
  explicit Ticket(std::atomic<size_t>& waiting) : waiting_(waiting) { ++waiting_; }
  Ticket(const Ticket&) = delete;
  Ticket& operator=(const Ticket&) = delete;
  ~Ticket() { --waiting_; }

 private:
  std::atomic<size_t>& waiting_;
};

struct WaitingCall {
  PolicyMessage call;
  std::shared_ptr<link::Outbox> outbox;
  std::unique_ptr<Ticket> ticket;
};

}  // namespace

void PolicyCalls::Post(PolicyMessage call, std::shared_ptr<link::Outbox> outbox) {
  const Lock lock(mutex_);
  if (closed_) return PolicyMethodCall(call, *outbox).Fail(error::kNotReady);
  if (waiting_ >= kMostWaitingCalls) return PolicyMethodCall(call, *outbox).Fail(error::kBusy);
  pool_.Post([this, waiting = std::make_shared<WaitingCall>(WaitingCall{
                        std::move(call), std::move(outbox), std::make_unique<Ticket>(waiting_)})] {
    waiting->ticket.reset();
    Run(waiting->call, *waiting->outbox);
  });
}

void PolicyCalls::Close() {
  {
    const Lock lock(mutex_);
    if (std::exchange(closed_, true)) return;
  }
  pool_.DropQueued();
  pool_.Stop();
}

void PolicyCalls::Run(PolicyMessage& message, link::Outbox& outbox) {
  PolicyMethodCall call(message, outbox);
  try {
    const bool known = agents_.WithFirst(
        [&](EnterpriseIntegration::IAgent& agent) { agent.RunPolicyMethod(&call); });
    if (!known) call.Fail(error::kNotReady);
  } catch (...) {
    // What it says may quote the call's input.
    ORN_LOG(logging::kError, L"PolicyCalls::Run", L"A policy method failed by an exception.");
  }
  call.Fail(error::kInternal);
}

}  // namespace host::integration
