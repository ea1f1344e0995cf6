#include "module/terminal/terminal.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "module/feature/testing/recording_connector.h"
#include "module/terminal/testing/console_pipes.h"

namespace orn::RemoteAccess {
namespace {

class TerminalTest : public testing::Test, public TerminalEvents {
 protected:
  CallList calls;
  RecordingConnector connector{calls};
  RecordingStream& stream = connector.streams["id"];
  ConsolePipes console;
  std::optional<Terminal> terminal;

  Terminal& Open(uint32_t inactivity_timeout = 300) {
    terminal.emplace("id", console.conin_name, console.conout_name, &stream, inactivity_timeout);
    terminal->SetEvents(this);
    EXPECT_TRUE(terminal->IsValid());
    return *terminal;
  }
  void Close() {
    terminal->Uninit(connector.CreateSocketManager(nullptr));
    terminal.reset();
  }
  void OnTerminalFinished(const StringT<char>& id) override {
    EXPECT_EQ(id, "id");
    calls.Add("finished");
  }
  void OnTerminalResize(const StringT<char>&, const TerminalSize& size) override {
    calls.Add(std::to_string(size.cols) + 'x' + std::to_string(size.rows));
  }
};

TEST_F(TerminalTest, CarriesKeysAndOutputWhateverElseArrives) {
  Open();
  for (const std::string& text :
       {std::string(), std::string("[1]"), std::string("5"), std::string("{"),
        std::string(R"({"type":{}})"), std::string(R"({"type":"Data"})"),
        std::string(R"({"type":"data"})"), std::string(R"({"type":"data","data":[7]})"),
        std::string(R"({"type":"data","data":{"encodedBuffer":"*"}})"), std::string(5000, '['),
        std::string(R"({"type":"resize","resize":{"cols":-1,"rows":"x"}})"),
        std::string("{\"type\":\"data\\u0000\"}")}) {
    stream.Deliver(text);
  }
  stream.Deliver(R"({"type":"data","data":{"encodedBuffer":"ZGlyDQ=="}})");
  EXPECT_EQ(console.ReadKeys(4), "dir\r");
  stream.Deliver(R"({"type":"resize","resize":{"cols":5}})");
  stream.sent.WaitFor("resize {\"cols\":0,\"rows\":0}\n");
  stream.sent.WaitFor("resize {\"cols\":5,\"rows\":0}\n");
  console.Print("C:\\>");
  stream.sent.WaitFor("data {\"encodedBuffer\":\"QzpcPg==\"}\n");
  terminal->SendStreamMessage("foreign", "{}");
  Close();
  stream.sent.WaitFor("foreign {}");
  EXPECT_EQ(stream.sent.Take().back(), "streamStop {\"reason\":0}\n");
  EXPECT_EQ(calls.Take(),
            (std::vector<std::string>{"0x0", "5x0", "create socket manager", "destroy stream"}));
}

TEST_F(TerminalTest, LosesNoOutputAndKeepsItsOrder) {
  std::mt19937 random(7);
  std::string printed(300'000, '\0');
  for (char& c : printed)
    c = static_cast<char>(random());
  Open();
  for (size_t at = 0; at < printed.size();) {
    const size_t size = 1 + random() % (random() % 4 == 0 ? 9000 : 30);
    console.Print(printed.substr(at, size));
    at += size;
  }
  // The worker drains what the pipe holds before it looks at the stop.
  Close();
  std::string sent;
  for (const std::string& message : stream.sent.Take()) {
    if (message.starts_with("streamStop")) break;
    const size_t begin = message.find(":\"") + 2;
    std::vector<uint8_t> bytes;
    EXPECT_EQ(Base64ObjectImplementation().Decode(
                  message.substr(begin, message.find("\"}\n") - begin), bytes),
              0u);
    EXPECT_LE(bytes.size(), 1024u);
    sent.append(bytes.begin(), bytes.end());
  }
  EXPECT_TRUE(sent == printed);
}

TEST_F(TerminalTest, ALostStreamAsksForTheEndOnce) {
  for (const uint32_t code : {8u, 9u}) {
    Open();
    stream.Refuse("data", code);
    console.Print("x");
    calls.WaitFor("finished");
    console.Print("y");  // The worker reads on.
    stream.sent.WaitFor("data {\"encodedBuffer\":\"eQ==\"}\n");
    stream.Refuse("streamStop", code);  // Its own last word is exempt.
    Close();
    EXPECT_EQ(calls.Count("finished"), 1);
    calls.Take();
    stream.sent.Take();
    console = ConsolePipes();
  }
  Open();
  stream.Refuse("data", 5);
  console.Print("z");
  stream.sent.WaitFor("data {\"encodedBuffer\":\"eg==\"}\n");
  stream.Deliver(R"({"type":"streamError"})");
  stream.Deliver(R"({"type":"streamStop"})");
  Close();
  EXPECT_EQ(calls.Count("finished"), 2);  // by the two messages alone
}

TEST_F(TerminalTest, EndsWhenNobodyTypes) {
  for (const uint32_t seconds : {0u, 4294968u}) {  // The second wraps to 704 ms.
    Open(seconds);
    calls.WaitFor("finished");
    Close();
    calls.Take();
    console = ConsolePipes();
  }
  // Typing keeps it open beyond its limit, provided that this machine lets us type in time.
  Open(1);
  const uint64_t start = GetTickCount64();
  uint64_t last = start;
  uint64_t longest_pause = 0;
  while (last - start < 1500) {
    stream.Deliver(R"({"type":"data"})");
    const uint64_t now = GetTickCount64();
    longest_pause = std::max(longest_pause, now - last);
    last = now;
  }
  if (longest_pause < 900) {
    EXPECT_EQ(calls.Count("finished"), 0);
  }
  calls.WaitFor("finished");
  Close();
}

TEST_F(TerminalTest, SurvivesAShellThatDiesAndPipesThatAreNotThere) {
  Open();
  console.Print("bye");
  stream.sent.WaitFor("data {\"encodedBuffer\":\"Ynll\"}\n");
  console.Close();
  stream.Deliver(R"({"type":"data","data":{"encodedBuffer":"ZGly"}})");
  Close();
  Open();  // valid, though neither pipe opens
  Close();
  EXPECT_EQ(calls.Count("finished"), 0);
}

TEST_F(TerminalTest, EndsTheProcessWhenDeletedWithoutUninit) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto aborts = testing::ExitedWithCode(3);
  EXPECT_EXIT(Open().~Terminal(), aborts, "");
  const auto make = [&](const char* id, VeldConnector::Stream::IConnection* connection) {
    Terminal invalid(id, console.conin_name, console.conout_name, connection, 300);
    if (invalid.IsValid()) _Exit(0);
  };
  EXPECT_EXIT(make("id", nullptr), aborts, "");
  EXPECT_EXIT(make("", &stream), aborts, "");
}

}  // namespace
}  // namespace orn::RemoteAccess
