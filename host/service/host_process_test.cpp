#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/testing/host_runner.h"

namespace host {
namespace {

using testing::HostRunner;
using testing::Option;
using testing::TestPlugin;
using testing::Utf8;

TEST(HostProcess, PluginsStartOneByOneAndStopBackwardsOrAsToldAfterTheLastCallFromOutside) {
  HostRunner runner;
  // Nobody gets a plug-in that has not started.
  runner.Configure(TestPlugin("A", Option("call", "") + Option("get", "B")) +
                   TestPlugin("B", Option("get", "A")) + TestPlugin("C") + "<stop plugin='B'/>");
  runner.Start();
  runner.ReadUntil("is running");
  runner.AskToStop();
  const std::string name = Utf8(runner.name());
  EXPECT_EQ(
      runner.ReadToEnd(),
      "A.Init\nA.get 1168 null\nA.Start\nB.Init\nB.get 0 object\nB.Start\nC.Init\nC.Start\n"
      "Host " +
          name + " is running\nHost " + name +
          " stops\n"
          "A.call ends\nA.CloseIntake\nB.Stop\nC.Stop\nA.Stop\nC.UnInit\nB.UnInit\nA.UnInit\n");
  EXPECT_EQ(runner.Wait(), 0u);
}

TEST(HostProcess, WhateverFailsAtTheStartIsOneLineWithCodeOneAndTakesBackWhatWasStarted) {
  const struct {
    const char* what;
    std::string elements;
    const char* line;    // After "host.xml(LINE): ".
    const char* output;  // Of the plug-ins.
  } kRows[] = {
      {"Init", TestPlugin("A") + TestPlugin("B", Option("failInit", "5002")),
       "(3): plug-in \"B\": Init failed: 5002", "A.Init\nA.Start\nB.Init\n|A.Stop\nA.UnInit\n"},
      {"Start", TestPlugin("A") + TestPlugin("B", Option("failStart", "21")),
       "(3): plug-in \"B\": Start failed: 21",
       "A.Init\nA.Start\nB.Init\nB.Start\nB.UnInit\n|A.Stop\nA.UnInit\n"},
      {"library", TestPlugin("A") + "<plugin name='X' library='Absent.dll' object='X'/>\n",
       "(3): plug-in \"X\": library \"Absent.dll\" cannot be loaded: 126",
       "A.Init\nA.Start\n|A.Stop\nA.UnInit\n"},
      {"object", "<plugin name='X' library='HostTestPlugin.dll' object='a'/>\n",
       "(2): plug-in \"X\": library \"HostTestPlugin.dll\" offers no plug-in \"a\": 1168", "|"},
      {"log", "<log path='host.xml\\x.log'/>\n", ": log.dll or its file cannot be used: 110", "|"},
      {"broken", "<plugin>\n", "(3): the configuration is no XML: ", "|"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    HostRunner runner;
    runner.Configure(row.elements);
    runner.Start();
    std::string output = runner.ReadToEnd();
    EXPECT_EQ(runner.Wait(), 1u);
    const size_t begin = output.find(Utf8(runner.file()));
    ASSERT_NE(begin, std::string::npos) << output;
    const size_t end = output.find('\n', begin) + 1;
    const std::string line = output.substr(begin + runner.file().size(), end - begin);
    EXPECT_EQ(line.substr(0, std::string(row.line).size()), row.line);
    EXPECT_EQ(output.replace(begin, end - begin, "|"), row.output);
  }
}

TEST(HostProcess, ASecondOneOfTheSameNameIsRefusedUntilTheFirstIsGoneHoweverItEnds) {
  HostRunner first;
  first.Configure("<declares host='Shared'/>");
  first.Start();
  first.ReadUntil("is running");

  HostRunner second;
  second.Configure("<declares host='Shared'/>");
  second.Start();
  EXPECT_NE(second.ReadToEnd().find("host \"Shared\" is running already: 183"), std::string::npos);
  EXPECT_EQ(second.Wait(), 1u);

  first.Kill();
  second.Configure("<declares host='Shared'/>");
  second.Start();
  EXPECT_NE(second.ReadUntil("is running").find("is running"), std::string::npos);

  // The switch for it stops a host in order, and says so when there is none.
  for (const char* end : {"has stopped", "was not running"}) {
    HostRunner stopper;
    stopper.Start(L"/stop /config \"" + second.file() + L"\"");
    EXPECT_NE(stopper.ReadToEnd().find(end), std::string::npos);
    EXPECT_EQ(stopper.Wait(), 0u);
    EXPECT_EQ(second.Wait(), 0u);
  }
}

TEST(HostProcess, AStopThatTakesTooLongIsEndedWithALogLine) {
  HostRunner runner;
  runner.Configure("<log path='h.log'/>" + TestPlugin("A", Option("hang", "")), "stopLimit='1'");
  runner.Start();
  runner.ReadUntil("is running");
  runner.AskToStop();
  EXPECT_NE(runner.ReadToEnd().find("did not stop in time and is ended: 1460"), std::string::npos);
  EXPECT_EQ(runner.Wait(), 1u);
  std::ifstream log(std::filesystem::path(runner.folder() + L"\\h.log"));
  const std::string text{std::istreambuf_iterator<char>(log), {}};
  EXPECT_NE(text.find("ERR host::Report: "), std::string::npos) << text;
  EXPECT_NE(text.find("did not stop in time"), std::string::npos) << text;
}

TEST(HostProcess, ItsPathIsTheSystemsAndItsOwnAndTheOneItFoundIsKeptForItsChildren) {
  HostRunner runner;
  SetEnvironmentVariableW(L"PATH", L"C:\\found");
  runner.Configure(TestPlugin("A", Option("tell", "PATH")) +
                   TestPlugin("B", Option("tell", "ORN_TSR_OLD_PATH") + Option("failInit", "1")));
  runner.Start();
  const std::string output = runner.ReadToEnd();
  EXPECT_NE(output.find("A.PATH=C:\\windows\\system32;C:\\windows;"), std::string::npos) << output;
  // And nowhere else.
  EXPECT_EQ(output.find("B.ORN_TSR_OLD_PATH=C:\\found\n") + 19, output.find("C:\\found")) << output;
}

}  // namespace
}  // namespace host
