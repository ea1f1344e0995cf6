#include "host/plugins/link/connection_loop.h"

#include <algorithm>
#include <string>
#include <utility>

#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::link {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstCeiling{1000};
constexpr milliseconds kLastCeiling{30'000};

}  // namespace

milliseconds BackOff::Next() {
  std::uniform_int_distribution<int64_t> between(ceiling_.count() / 2, ceiling_.count());
  const milliseconds wait{between(random_)};
  ceiling_ = std::min(ceiling_ * 2, kLastCeiling);
  return wait;
}

void BackOff::OnConnectionLasted(milliseconds duration) {
  if (duration >= ceiling_) ceiling_ = kFirstCeiling;
}

ConnectionLoop::ConnectionLoop(const wchar_t* name, TransportFactory make_transport,
                               IConnectionUser& user, const LoopLimits& limits)
    : function_(std::wstring(name) + L"::ConnectionLoop"),
      make_transport_(std::move(make_transport)),
      user_(user),
      limits_(limits),
      back_off_(std::random_device()()) {}

void ConnectionLoop::Start() {
  thread_ = std::thread([this] {
    orn::SetThreadName(L"Link receiver");
    Run();
  });
}

void ConnectionLoop::Stop() {
  std::shared_ptr<ITransport> transport;
  std::shared_ptr<Outbox> outbox;
  {
    const Lock lock(mutex_);
    stopping_ = true;
    transport = transport_;
    outbox = outbox_;
    changed_.NotifyAll();
  }
  if (outbox != nullptr) {
    outbox->Finish();
    outbox->WaitUntilDrained(Clock::now() + limits_.drain);
  }
  if (transport != nullptr) transport->Close();
  if (thread_.joinable()) thread_.join();
}

void ConnectionLoop::Run() {
  for (;;) {
    if (Connect()) {
      const Clock::time_point start = Clock::now();
      Serve();
      back_off_.OnConnectionLasted(std::chrono::duration_cast<milliseconds>(Clock::now() - start));
    }
    const milliseconds wait = back_off_.Next();
    Lock lock(mutex_);
    transport_.reset();
    outbox_.reset();
    if (changed_.WaitUntil(lock, Clock::now() + wait, [this] { return stopping_; })) return;
  }
}

bool ConnectionLoop::Connect() {
  const std::shared_ptr<ITransport> transport = make_transport_();
  {
    const Lock lock(mutex_);
    if (stopping_) return false;
    transport_ = transport;
  }
  std::string reason;
  switch (transport->Open(reason)) {
    case ITransport::Opened::kOpen: {
      ORN_LOG(logging::kNotice, function_.c_str(), L"Connected to the server.");
      const Lock lock(mutex_);
      if (stopping_) return false;
      outbox_ = std::make_shared<Outbox>(limits_.outbox, [this, transport] {
        ORN_LOG(logging::kWarning, function_.c_str(),
                L"The server reads no answers: connection ended.");
        transport->Close();
      });
      return true;
    }
    case ITransport::Opened::kRefused:
      ORN_LOG(logging::kError, function_.c_str(), L"The server refuses the enrolment key: %S",
              reason.c_str());
      return false;
    case ITransport::Opened::kFailed:
      ORN_LOG(logging::kWarning, function_.c_str(), L"The server cannot be reached: %S",
              reason.c_str());
      return false;
  }
  return false;
}

void ConnectionLoop::Serve() {
  // Only this thread changes the two members, so it reads them without the mutex.
  const std::shared_ptr<ITransport> transport = transport_;
  const std::shared_ptr<Outbox> outbox = outbox_;
  user_.Up(outbox);
  std::thread writer([transport, outbox] {
    orn::SetThreadName(L"Link writer");
    std::string message;
    while (outbox->Pop(message)) {
      if (transport->Send(message)) continue;
      outbox->Discard();
      transport->Close();
    }
  });
  Receive();
  transport->Close();
  outbox->Discard();
  user_.Down();
  writer.join();
}

void ConnectionLoop::Receive() {
  Clock::time_point heard = Clock::now();
  Clock::time_point asked = heard;
  std::string text;
  for (;;) {
    const Clock::time_point next =
        std::min(heard + limits_.give_up, std::max(heard, asked) + limits_.ping);
    const milliseconds wait = std::chrono::ceil<milliseconds>(next - Clock::now());
    switch (transport_->Receive(text, std::max(wait, milliseconds::zero()))) {
      case ITransport::Received::kMessage:
        heard = Clock::now();
        user_.OnMessage(text);
        break;
      case ITransport::Received::kTooLong:
        heard = Clock::now();
        ORN_LOG(logging::kWarning, function_.c_str(), L"Overlong message from the server dropped.");
        break;
      case ITransport::Received::kTimeout:
        if (Clock::now() - heard >= limits_.give_up) {
          ORN_LOG(logging::kWarning, function_.c_str(), L"The server is silent: connection ended.");
          return;
        }
        asked = Clock::now();
        outbox_->Push(kPingText, Outbox::Kind::kAnswer);
        break;
      case ITransport::Received::kClosed:
        ORN_LOG(logging::kNotice, function_.c_str(), L"The connection to the server has ended.");
        return;
    }
  }
}

}  // namespace host::link
