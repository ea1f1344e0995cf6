// Through the exports of the real log.dll, as every user of it does.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "module/frame/testing/test_folder.h"
#include "module/platform/log_dll.h"

namespace {

using namespace std::string_literals;

class LogLibrary : public ::testing::Test {
 protected:
  LogLibrary() {
    library_ = LoadLibraryW(L"log.dll");
    Get<logging::LogInitFn>("LogInit")();
  }
  ~LogLibrary() override {
    if (library_ != nullptr) Unload();
  }

  template <class Function>
  Function Get(const char* name) {
    const FARPROC found = GetProcAddress(library_, name);
    EXPECT_NE(found, nullptr) << name;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  }

  void Unload() {
    Get<logging::LogDeinitFn>("LogDeinit")();
    FreeLibrary(library_);
    library_ = nullptr;
  }

  void SetPath(const wchar_t* file) {
    ASSERT_EQ(Get<logging::LogSetPathFn>("LogSetPath")((folder_ / file).c_str()), 0u);
  }
  void Write(uint16_t depth, uint32_t level, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    Get<logging::LogWriteFn>("LogWrite")(depth, &level, nullptr, L"F", format, args);
    va_end(args);
  }

  std::vector<std::string> Lines(const wchar_t* file) {
    std::istringstream in(folder_.Read(file));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
      lines.push_back(line);
    return lines;
  }

  const TestFolder folder_;
  HMODULE library_ = nullptr;
};

TEST_F(LogLibrary, WritesOnlyTheLevelsOfItsMaskAndIndentsByDepthAlsoUnderHiddenOnes) {
  SetPath(L"new\\a.log");
  Get<logging::LogSetLevelFn>("LogSetLevel")(2 | 16);
  Write(1, 32, L"-> hidden");
  Write(0, 16, L"%s %d %S", L"deeper", 5, "text");
  Write(0xFFFF, 32, L"<- hidden");
  Write(0xFFFF, 32, L"<- too many");
  SetLastError(1234);
  Write(0, 2, L"error");
  EXPECT_EQ(GetLastError(), 1234u);
  // An error writes out what is held back: another process can read it now.
  const auto lines = Lines(L"new\\a.log");
  ASSERT_EQ(lines.size(), 2u);
  const std::string who =
      "Z " + std::to_string(GetCurrentProcessId()) + ":" + std::to_string(GetCurrentThreadId());
  EXPECT_EQ(lines[0].substr(23), who + "   INF F: deeper 5 text");
  EXPECT_EQ(lines[1].substr(23), who + " ERR F: error");
}

TEST_F(LogLibrary, RotatesBySizeAndEveryLineStaysWhole) {
  Get<logging::LogSetMaxSizeFn>("LogSetMaxSize")(4096, 2);
  SetPath(L"r.log");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this] {
      for (int i = 0; i < 100; ++i)
        Write(0, 16, L"%s", std::wstring(100, L'x').c_str());
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  Unload();
  for (const wchar_t* name : {L"r.log", L"r.1.log", L"r.2.log"}) {
    EXPECT_LE(folder_.Read(name).size(), 4096u);
    for (const std::string& line : Lines(name)) {
      EXPECT_TRUE(line.starts_with("20") && line.ends_with(" INF F: " + std::string(100, 'x')));
    }
  }
  EXPECT_FALSE(Exists(folder_ / L"r.3.log"));
}

TEST_F(LogLibrary, SurvivesNullArguments) {
  const auto write = Get<logging::LogWriteFn>("LogWrite");
  const uint32_t level = 2;
  SetPath(L"n.log");
  EXPECT_EQ(write(0, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(write(0, &level, nullptr, nullptr, nullptr, nullptr), 0u);
  Get<logging::LogTrackEventDataFn>("LogTrackEventData")(L"used", nullptr);
  EXPECT_EQ(Lines(L"n.log").size(), 1u);
}

TEST_F(LogLibrary, FollowsItsSettingsFileWhileItIsWatched) {
  const auto write_settings = [&](const char* level, const char* path) {
    folder_.Write(L"s.xml", "<host><log path='"s + path + "' level='" + level + "'/></host>");
  };
  write_settings("error", "logs/1.log");
  Get<logging::LogSetSettingsFileFn>("LogSetSettingsFile")((folder_ / L"s.xml").c_str());
  ASSERT_EQ(Get<logging::LogApplySettingsFn>("LogApplySettings")(), 0u);
  const auto level = Get<logging::LogGetLevelFn>("LogGetLevel");
  EXPECT_EQ(level(), 2u);

  ASSERT_EQ(Get<logging::LogMonitorSettingsFn>("LogMonitorSettings")(1), 0u);
  const HANDLE change = FindFirstChangeNotificationW((folder_ / L"logs").c_str(), /*subtree=*/FALSE,
                                                     FILE_NOTIFY_CHANGE_FILE_NAME);
  write_settings("trace", "logs/2.log");
  while (!Exists(folder_ / L"logs\\2.log")) {
    WaitForSingleObject(change, INFINITE);
    FindNextChangeNotification(change);
  }
  FindCloseChangeNotification(change);
  EXPECT_EQ(level(), 62u);
  // Neither the watch nor a line that waits for its flush outlives the last user.
  Write(0, 16, L"held back");
  Unload();
  EXPECT_EQ(Lines(L"logs\\2.log").size(), 1u);
}

}  // namespace
