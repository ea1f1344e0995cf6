#include "module/frame/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "module/frame/log_dll.h"
#include "module/frame/windows.h"

// The folder of this program has no log library of its own: each test puts the recorder there or
// loads it from elsewhere.

namespace {

std::mutex recorded_mutex;
std::vector<std::wstring> recorded;  // Guarded by recorded_mutex.

std::wstring Folder() {
  wchar_t program[MAX_PATH];
  const std::wstring path(program, GetModuleFileNameW(nullptr, program, MAX_PATH));
  return path.substr(0, path.rfind(L'\\') + 1);
}

const std::wstring kRecorder = Folder() + L"recorder\\log.dll";
const std::wstring kBesideProgram = Folder() + L"log.dll";

}  // namespace

extern "C" __declspec(dllexport) void RecordedByLog(const wchar_t* call);
void RecordedByLog(const wchar_t* call) {
  const std::lock_guard guard(recorded_mutex);
  recorded.push_back(call);
}

namespace {

class LogTest : public testing::Test {
 protected:
  LogTest() {
    recorded.clear();
    DeleteFileW(kBesideProgram.c_str());
  }
  ~LogTest() override {
    EXPECT_FALSE(logging::IsOn());
    DeleteFileW(kBesideProgram.c_str());
  }

  static void PutRecorderBesideProgram() {
    ASSERT_TRUE(CopyFileW(kRecorder.c_str(), kBesideProgram.c_str(), /*bFailIfExists=*/FALSE));
  }
  static bool IsLibraryLoaded() { return GetModuleHandleW(L"log.dll") != nullptr; }
  static size_t Count(const wchar_t* call) {
    return static_cast<size_t>(std::count(recorded.begin(), recorded.end(), call));
  }
};

TEST_F(LogTest, LibraryIsLoadedWithTheFirstReferenceAndUnloadedWithTheLast) {
  {
    const logging::LogReference without_library;
    LogFunctionTrace trace(L"f");
    ORN_LOG(logging::kError, trace.function(), L"%s", L"dropped");
    EXPECT_FALSE(IsLibraryLoaded());
  }
  PutRecorderBesideProgram();
  for (int round = 0; round < 2; ++round) {
    logging::LogReference outer;
    logging::LogReference twice;
    twice.Acquire();
    outer.Release();
    EXPECT_TRUE(IsLibraryLoaded());
    twice.Release();
    EXPECT_FALSE(IsLibraryLoaded());
    const std::vector<std::wstring> expected = {L"LogInit", L"LogDeinit", L"LogUninitDeskMetrics",
                                                L"LogRemoveModule logging::CLogDLL::~CLogDLL"};
    EXPECT_EQ(std::exchange(recorded, {}), expected);
  }
}

TEST_F(LogTest, CopyThatTheProcessHoldsIsUsedWhereverItCameFrom) {
  const HMODULE held = LoadLibraryW(kRecorder.c_str());
  ASSERT_NE(held, nullptr);
  int evaluated = 0;
  ORN_LOG(logging::kError, L"f", L"%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);  // While nobody holds a reference.
  {
    const logging::LogReference reference;
    FreeLibrary(held);
    EXPECT_TRUE(IsLibraryLoaded());  // By a reference of the binding's own.
    ORN_LOG(logging::kWarning, L"a::B::C", L"%s %S %d", L"wide", "narrow", ++evaluated);
  }
  EXPECT_FALSE(IsLibraryLoaded());
  EXPECT_EQ(Count(L"0 4 a::B::C: wide narrow 1"), 1u);
}

TEST_F(LogTest, TraceMarksEveryWayOutAndKeepsTheLastError) {
  PutRecorderBesideProgram();
  const std::wstring long_name(400, L'n');
  SetLastError(12345);
  {
    const logging::LogReference reference;
    EXPECT_THROW(
        {
          const LogFunctionTrace trace(L"ns::Operation");
          ORN_LOG(logging::kTrace, trace.function(), L"step");
          EXPECT_EQ(GetLastError(), 12345u);
          throw std::runtime_error("out");
        },
        std::runtime_error);
    const LogFunctionTrace cut(long_name.c_str());
    SetLastError(12346);
  }
  EXPECT_EQ(GetLastError(), 12346u);
  EXPECT_EQ(recorded[1], L"1 32 ns::Operation: -> ns::Operation()");
  EXPECT_EQ(recorded[2], L"0 32 ns::Operation: step");
  EXPECT_TRUE(recorded[3].starts_with(L"65535 32 ns::Operation: <- ns::Operation() ["));
  EXPECT_EQ(recorded[4],
            L"1 32 " + std::wstring(259, L'n') + L": -> " + std::wstring(258, L'n') + L"()");
}

TEST_F(LogTest, ThreadsLogWhileTheLibraryComesAndGoes) {
  PutRecorderBesideProgram();
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([] {
        for (int round = 0; round < 50; ++round) {
          ORN_LOG(logging::kTrace, L"f", L"before");
          const logging::LogReference reference;
          ORN_LOG(logging::kTrace, L"f", L"after");
        }
      });
    }
  }
  EXPECT_EQ(Count(L"0 32 f: after"), 4u * 50u);
  EXPECT_EQ(Count(L"LogInit"), Count(L"LogDeinit"));
  EXPECT_FALSE(IsLibraryLoaded());
}

}  // namespace
