#include "module/terminal/terminal.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "module/feature/testing/recording_connector.h"
#include "module/terminal/testing/piped_terminal_manager.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;

class TerminalTest : public testing::Test, public TerminalEvents {
 protected:
  CallList calls;
  RecordingConnector connector{calls};
  RecordingStream& stream = connector.streams["id"];
  ConsolePipes console;
  std::optional<Terminal> terminal;

  void Open(uint32_t inactivity_timeout = 300) {
    terminal.emplace("id", console.conin_name.c_str(), console.conout_name.c_str(), &stream,
                     inactivity_timeout);
    terminal->SetEvents(this);
    EXPECT_TRUE(terminal->IsValid());
  }
  // What the events and the connector were told, and a new console for the next terminal.
  Calls Close() {
    terminal->Uninit(&connector);
    terminal.reset();
    console = ConsolePipes();
    return calls.Take();
  }
  void OnTerminalFinished(const StringT<char>&) override { calls.Add("finished"); }
  void OnTerminalResize(const StringT<char>&, const TerminalSize& size) override {
    calls.Add(std::to_string(size.cols) + 'x' + std::to_string(size.rows));
  }
};

TEST_F(TerminalTest, CarriesKeysAndOutputWhateverElseArrives) {
  Open();
  for (const char* text :
       {"", "[1]", "5", "{", R"({"type":{}})", R"({"type":"Data"})", R"({"type":"data\u0000"})",
        R"({"type":"data"})", R"({"type":"data","data":[7]})",
        R"({"type":"data","data":{"encodedBuffer":"*"}})",
        R"({"type":"resize","resize":{"cols":-1,"rows":"x"}})"}) {
    stream.Deliver(text);
  }
  stream.Deliver(std::string(5000, '['));
  stream.Deliver(R"({"type":"data","data":{"encodedBuffer":"ZGlyDQ=="}})");
  char keys[5] = {};
  DWORD count = 0;
  ReadFile(console.conin.get(), keys, 4, &count, nullptr);
  EXPECT_STREQ(keys, "dir\r");
  stream.Deliver(R"({"type":"resize","resize":{"cols":5}})");
  console.Print("C:\\>");
  stream.sent.WaitFor("data {\"encodedBuffer\":\"QzpcPg==\"}\n");
  EXPECT_EQ(Close(), (Calls{"0x0", "5x0", "destroy stream"}));
  EXPECT_EQ(stream.sent.Take(),
            (Calls{"resize {\"cols\":0,\"rows\":0}\n", "resize {\"cols\":5,\"rows\":0}\n",
                   "data {\"encodedBuffer\":\"QzpcPg==\"}\n", "streamStop {\"reason\":0}\n"}));
}

TEST_F(TerminalTest, LosesNoOutputAndKeepsItsOrder) {
  std::mt19937 random(7);
  std::string printed(300'000, '\0');
  for (char& c : printed)
    c = static_cast<char>(random());
  Open();
  for (size_t at = 0, size = 0; at < printed.size(); at += size) {
    size = 1 + random() % (random() % 4 == 0 ? 9000 : 30);
    console.Print(printed.substr(at, size));
  }
  Close();  // What the pipe holds is sent before the stop is looked at.
  std::string sent;
  for (const std::string& message : stream.sent.Take()) {
    if (message.starts_with("streamStop")) break;
    const size_t begin = message.find(":\"") + 2;
    std::vector<uint8_t> bytes;
    Base64ObjectImplementation().Decode(message.substr(begin, message.find("\"}\n") - begin),
                                        bytes);
    EXPECT_LE(bytes.size(), 1024u);
    sent.append(bytes.begin(), bytes.end());
  }
  EXPECT_TRUE(sent == printed);
}

TEST_F(TerminalTest, ALostStreamAsksForTheEndOnce) {
  for (const uint32_t code : {8u, 9u, 5u}) {
    Open();
    stream.Refuse("data", code);
    console.Print("x");
    if (code != 5) calls.WaitFor("finished");
    stream.sent.WaitFor("data {\"encodedBuffer\":\"eA==\"}\n");
    console.Print("y");  // The worker reads on.
    stream.sent.WaitFor("data {\"encodedBuffer\":\"eQ==\"}\n");
    stream.Refuse("streamStop", code);  // Its own last word is exempt.
    EXPECT_EQ(Close(), code == 5 ? Calls{"destroy stream"} : (Calls{"finished", "destroy stream"}));
    stream.sent.Take();
  }
}

TEST_F(TerminalTest, EndsWhenNobodyTypes) {
  for (const uint32_t seconds : {0u, 4294968u}) {  // The second wraps to 704 ms.
    Open(seconds);
    calls.WaitFor("finished");
    Close();
  }
  // Typing keeps it open beyond its limit, provided that this machine lets us type in time.
  Open(1);
  const uint64_t start = GetTickCount64();
  uint64_t longest_pause = 0;
  for (uint64_t last = start, now = start; now - start < 1500; last = now) {
    stream.Deliver(R"({"type":"data"})");
    now = GetTickCount64();
    longest_pause = std::max(longest_pause, now - last);
  }
  EXPECT_TRUE(longest_pause > 900 || calls.Take().empty());
  Close();
}

TEST_F(TerminalTest, SurvivesAShellThatDiesAndPipesThatAreNotThere) {
  Open();
  console.Print("bye");
  console.conin.reset();
  console.conout.reset();
  stream.sent.WaitFor("data {\"encodedBuffer\":\"Ynll\"}\n");
  stream.Deliver(R"({"type":"data","data":{"encodedBuffer":"ZGly"}})");
  EXPECT_EQ(Close(), Calls{"destroy stream"});
  console.conin_name = console.conout_name = L"\\\\.\\pipe\\nobody";
  Open();  // valid all the same
  EXPECT_EQ(Close(), Calls{"destroy stream"});
}

TEST_F(TerminalTest, EndsTheProcessWhenDeletedWithoutUninit) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto make = [&](const char* id, VeldConnector::Stream::IConnection* connection) {
    const Terminal invalid(id, L"", L"", connection, 300);
    if (invalid.IsValid()) _Exit(0);
  };
  EXPECT_EXIT(make("id", nullptr), testing::ExitedWithCode(3), "");
  EXPECT_EXIT(make("", &stream), testing::ExitedWithCode(3), "");
}

}  // namespace
}  // namespace orn::RemoteAccess
