#include <gtest/gtest.h>

#include <thread>

#include "host/messaging/testing/echo_peer.h"
#include "module/frame/error_codes.h"
#include "module/frame/exported_plugin.h"
#include "module/frame/testing/semaphore.h"
#include "module/jobs/testing/child_roles.h"

namespace host::channels::testing {
namespace {

CHILD_ROLE(Serve) {
  EchoServer server;
  AwaitParentsEnd();
  return 0;
}

TEST(Messaging, RequestsGoToAnotherProcessAndAnswersComeBack) {
  NewInstance();
  HubProcess hub;
  Party client;
  Child server("Serve");
  EXPECT_EQ(client.AwaitEntry("server"), server.pid());
  EXPECT_EQ(client.Ask("echo", "hello"), "hello");
  EXPECT_EQ(client.Ask("echo", std::string(3'000'000, 'x')), std::string(3'000'000, 'x'));
  // The sender is whom the operating system names.
  EXPECT_EQ(client.Ask("sender"), std::to_string(GetCurrentProcessId()));
  uint32_t status = 0;
  client.Ask("drop", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
  client.Ask("hold", {}, 20, &status);
  EXPECT_EQ(status, error::kTimeout);
  EXPECT_EQ(client.Ask("held"), "1");
  client.Ask("die", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
  client.AwaitNoEntry("server");
}

}  // namespace
}  // namespace host::channels::testing
