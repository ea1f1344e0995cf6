#include "module/terminal/terminal.h"

#include <random>

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using TerminalTest = FeatureInAgent;

std::string Data(const std::string& base64) {
  return "data {\"encodedBuffer\":\"" + base64 + "\"}\n";
}

TEST_F(TerminalTest, CarriesKeysAndOutputWhateverElseArrives) {
  Run();
  Open("a");
  RecordingStream& stream = connector.streams["a"];
  for (const char* text :
       {"", "[1]", "{", R"({"type":{}})", R"({"type":"data\u0000"})", R"({"type":"data"})",
        R"({"type":"data","data":[7]})", R"({"type":"data","data":{"encodedBuffer":"*"}})",
        R"({"type":"resize","resize":{"cols":-1,"rows":"x"}})",
        R"({"type":"data","data":{"encodedBuffer":"ZGlyDQ=="}})"})
    stream.Deliver(text);
  stream.Deliver(std::string(5000, '['));
  char keys[5] = {};
  DWORD count = 0;
  ReadFile(manager.consoles["a"].conin.get(), keys, 4, &count, nullptr);
  EXPECT_STREQ(keys, "dir\r");
  manager.consoles["a"].Print("C:\\>");
  stream.sent.WaitFor(Data("QzpcPg=="));
  feature.Stop();
  EXPECT_EQ(stream.sent.Take(), (Calls{"resize {\"cols\":0,\"rows\":0}\n", Data("QzpcPg=="),
                                       "streamStop {\"reason\":0}\n"}));
}

TEST_F(TerminalTest, LosesNoOutputAndKeepsItsOrder) {
  std::mt19937 random(7);
  std::string printed(300'000, '\0'), sent;
  for (char& c : printed)
    c = static_cast<char>(random());
  Run();
  Open("a");
  for (size_t at = 0, size = 0; at < printed.size(); at += size) {
    size = 1 + random() % (random() % 4 == 0 ? 9000 : 30);
    manager.consoles["a"].Print(printed.substr(at, size));
  }
  feature.Stop();  // What the pipe holds is sent before the stop is looked at.
  for (const std::string& message : connector.streams["a"].sent.Take()) {
    if (message.starts_with("streamStop")) break;
    const size_t begin = Data("").find("\"}");
    std::vector<uint8_t> bytes;
    Base64ObjectImplementation().Decode(message.substr(begin, message.size() - begin - 3), bytes);
    EXPECT_LE(bytes.size(), 1024u);
    sent.append(bytes.begin(), bytes.end());
  }
  EXPECT_TRUE(sent == printed);
}

TEST_F(TerminalTest, ALostStreamAsksForTheEndOnce) {
  Run();
  for (const uint32_t code : {8u, 9u, 5u}) {
    const std::string id = std::to_string(code);
    RecordingStream& stream = connector.streams[id];
    stream.data_refusal = stream.other_refusal = code;  // Its own last word is exempt.
    Open(id);
    manager.consoles[id].Print("x");
    if (code != 5) calls.WaitFor(id + " ended");
    stream.sent.WaitFor(Data("eA=="));
  }
  manager.consoles["5"].Print("y");  // It lives on.
  connector.streams["5"].sent.WaitFor(Data("eQ=="));
  const auto is_end = [](const std::string& call) { return call.find(" ended") < call.size(); };
  EXPECT_EQ(std::ranges::count_if(calls.Take(), is_end), 2);
  feature.Stop();
}

TEST_F(TerminalTest, EndsWhenNobodyTypes) {
  Run();
  const std::string parameters = R"({"streamId":"a","inactivityTimeout":)";
  for (const char* seconds : {"0}", "4294968}"}) {  // The second wraps to 704 ms.
    EXPECT_EQ(OpenWith(parameters + seconds), 0);
    calls.WaitFor("a ended");
    calls.Take();
  }
  feature.Stop();
}

TEST_F(TerminalTest, SurvivesAShellThatDiesAndPipesThatAreNotThere) {
  Run();
  Open("a");
  manager.consoles["a"].Print("bye");
  manager.consoles["a"].conin.reset();
  manager.consoles["a"].conout.reset();
  manager.consoles["b"].conin.reset();
  manager.consoles["b"].conout.reset();
  EXPECT_EQ(Open("b"), 0);
  connector.streams["a"].sent.WaitFor(Data("Ynll"));
  for (const char* id : {"a", "b"})
    connector.streams[id].Deliver(R"({"type":"data","data":{"encodedBuffer":"ZGly"}})");
  feature.Stop();
}

}  // namespace
}  // namespace orn::RemoteAccess
