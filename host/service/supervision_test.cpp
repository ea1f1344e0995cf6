#include <gtest/gtest.h>

#include <string>

#include "host/testing/host_runner.h"

namespace host {
namespace {

using testing::HostRunner;
using testing::Option;
using testing::TestPlugin;
using testing::Utf8;

std::string Process(const HostRunner& of) {
  return "<process program='TsrSecurityService.exe' config='" + Utf8(of.file()) + "'/>\n";
}

// The process in which the plug-in "A" has just told its id.
orn::UniqueHandle NextProcess(HostRunner& starter) {
  const std::string id = starter.ReadNext("A.pid ");
  return orn::UniqueHandle(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, /*inherit=*/FALSE,
                                       id.empty() ? 0 : std::stoul(id)));
}

void Kill(const orn::UniqueHandle& process) {
  TerminateProcess(process.get(), 77);
  WaitForSingleObject(process.get(), INFINITE);
}

TEST(Supervision, AProcessThatDiesIsStartedAgainAndEndsAfterItsStartersPlugins) {
  HostRunner child, starter;
  child.Configure(TestPlugin("A", Option("pid", "")));
  starter.Configure(TestPlugin("B") + Process(child));
  starter.Start();
  Kill(NextProcess(starter));
  Kill(NextProcess(starter));
  const orn::UniqueHandle third = NextProcess(starter);
  // It stops in order also while it is still being started.
  starter.AskToStop();
  EXPECT_EQ(starter.Wait(), 0u);
  EXPECT_EQ(WaitForSingleObject(third.get(), 0), WAIT_OBJECT_0);
  const std::string output = starter.ReadToEnd();
  const size_t stopped = output.find("B.UnInit\n");
  ASSERT_NE(stopped, std::string::npos) << output;
  EXPECT_NE(output.find("A.Stop\nA.UnInit\n", stopped), std::string::npos) << output;
}

TEST(Supervision, AHostThatSomebodyElseStartedIsNotDoubledAndIsFollowedByOneFromHere) {
  HostRunner child, starter;
  child.Configure(TestPlugin("A", Option("pid", "")));
  starter.Configure("<log path='h.log'/>" + Process(child));
  child.Start();
  child.ReadUntil("is running");
  starter.Start();
  starter.ReadUntil("is running");
  child.Kill();
  EXPECT_TRUE(NextProcess(starter));
  // Nor is it forgotten at the stop.
  starter.AskToStop();
  EXPECT_EQ(starter.Wait(), 0u);
  EXPECT_EQ(starter.ReadToEnd().find("running already"), std::string::npos);

  child.Start();
  child.ReadUntil("is running");
  starter.Start();
  starter.ReadUntil("is running");
  starter.AskToStop();
  EXPECT_EQ(child.Wait(), 0u);
  EXPECT_EQ(starter.Wait(), 0u);
}

TEST(Supervision, ABadConfigurationOfAProcessIsToldAndReadAgain) {
  HostRunner child, starter;
  child.Configure("<plug/>");
  starter.Configure(Process(child));
  starter.Start();
  const std::string line = "host.xml(2): unknown or misplaced element <plug>";
  EXPECT_NE(starter.ReadUntil(line).find(line), std::string::npos);
  child.Configure(TestPlugin("A", Option("pid", "")));
  EXPECT_TRUE(NextProcess(starter));
}

}  // namespace
}  // namespace host
