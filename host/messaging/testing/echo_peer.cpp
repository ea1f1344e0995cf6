#include "host/messaging/testing/echo_peer.h"

#include "host/common/host_presence.h"
#include "host/plugins/common/fake_host.h"

namespace host::channels::testing {

MessagingTest::MessagingTest() {
  static int counter = 0;
  const DWORD pid = GetCurrentProcessId();
  SetEnvironmentVariableW(
      kInstanceVariable,
      (L"messaging-" + std::to_wstring(pid) + L"-" + std::to_wstring(++counter)).c_str());
}

void BecomeUsers() {
  FakeHost host;
  host.SetOption(messaging::kChannelGateway, L"door", L"users");
  GatewayFactory factory;
  EXPECT_EQ(factory.Init(&host), 0);
}

HubProcess::HubProcess(const wchar_t* worker_channels, const wchar_t* users) {
  FakeHost host;
  host.SetOption(messaging::kChannelGateway, L"hub", L"true");
  host.SetOption(messaging::kChannelGateway, L"workerChannels", worker_channels);
  host.SetOption(messaging::kChannelGateway, L"users", users);
  EXPECT_EQ(factory_.Init(&host), 0);
}

Party::Party()
    : gateway_(factory_.create({kChannel, 0, 1})),
      messages_(gateway_->get_factory()),
      channel_(messages_->open_channel(kChannel)) {
  gateway_->add_observer(this);
}

void Party::End() {
  if (gateway_ == nullptr) return;
  gateway_->remove_observer(this);
  factory_.destroy(gateway_);
  gateway_ = nullptr;
}

void Party::Announce(const std::string& id, const char* type) {
  if (type[0] == '1') client_ = id;
  gateway_->add_subscriber(
      {0, kChannel, id, {{"rpc_subscriber_type", type}, {"rpc_client_id", id}}});
}

void Party::Withdraw(const std::string& id) {
  gateway_->remove_subscriber({0, kChannel, id, {}});
}

int32_t Party::AwaitEntry(const std::string& id) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return entries_.contains(id); });
  return entries_.find(id)->second;
}

void Party::AwaitNoEntry(const std::string& id) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return !entries_.contains(id); });
}

int Party::TimesAdded(const std::string& id) {
  const std::lock_guard lock(mutex_);
  return added_[id];
}

std::string Party::Ask(const std::string& what, const std::string& data, uint32_t timeout,
                       uint32_t* status) {
  messaging::message* const request = messages_->create_message(0);
  request->set_type(18);
  request->set_string("what", what.c_str());
  request->set_string("rpc_client_id", client_.c_str());
  request->set_binary("data", data.data(), static_cast<uint32_t>(data.size()));
  messaging::message* answer = nullptr;
  const uint32_t result =
      channel_->send(request, &answer, timeout | messaging::channel::kMilliseconds);
  if (status != nullptr) *status = result;
  request->release();
  if (answer == nullptr) return {};
  uint32_t size = 0;
  const void* const bytes = answer->get_binary("data", &size);
  std::string text(static_cast<const char*>(bytes), size);
  answer->release();
  return text;
}

uint32_t Party::PostEvent(int32_t pid, const std::string& what) {
  messaging::message* const event = messages_->create_message(0);
  event->set_type(19);
  event->set_int("rpc_subscriber_pid", pid);
  event->set_string("what", what.c_str());
  const uint32_t status = channel_->post(event);
  event->release();
  return status;
}

void Party::Listen(messaging::receiver::callback function, void* user) {
  channel_->get_receiver()->set_callback(function, user, 16384);
}

void Party::on_new_subscriber(const std::string&, const messaging::channel_subscriber& entry) {
  const std::lock_guard lock(mutex_);
  entries_.emplace(entry.id, entry.pid);
  ++added_[entry.id];
  changed_.notify_all();
}

void Party::on_subscriber_removed(const std::string&, const messaging::channel_subscriber& entry) {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(entry.id);
  if (found != entries_.end()) entries_.erase(found);
  changed_.notify_all();
}

EchoServer::EchoServer() {
  party_.Listen(&EchoServer::Receive, this);
  party_.Announce("server", "2");
}

void EchoServer::Receive(messaging::message* received, void* user) {
  auto* const self = static_cast<EchoServer*>(user);
  if (received->get_type() > 18) return;
  const std::string what = received->get_string("what");
  if (what == "die") TerminateProcess(GetCurrentProcess(), 9);
  if (what == "drop") return;
  if (what == "hold") {
    received->add_ref();
    self->last_held_ = received;
    ++self->held_;
    return;
  }
  uint32_t size = 0;
  const void* data = received->get_binary("data", &size);
  std::string text;
  if (what == "sender") {
    uint32_t sender = 0;
    received->get_property(messaging::message::kSenderProcess, &sender);
    text = std::to_string(sender);
  } else if (what == "held") {
    text = std::to_string(self->held_);
  } else {
    text.assign(static_cast<const char*>(data), size);
  }
  messaging::message* const answer = self->party_.messages()->create_message(0);
  answer->set_binary("data", text.data(), static_cast<uint32_t>(text.size()));
  received->reply(answer);
  answer->release();
}

}  // namespace host::channels::testing
