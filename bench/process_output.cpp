// A program's output into a file: as a process run does it, and the raw limit, a bare copy from the
// pipe into the file by reads of the same size.
//
//   process_output run MEGABYTES FOLDER    both print {"bytes": of the file, "seconds": s}
//   process_output raw MEGABYTES FOLDER
//   process_output print MEGABYTES         is the program whose output is taken

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "module/frame/utf.h"
#include "module/jobs/process_runs.h"

namespace {

using namespace orn;
using namespace orn::RemoteAccess;
using Clock = std::chrono::steady_clock;

constexpr DWORD kChunk = 4090;

void Print(size_t megabytes) {
  // Binary: the lines end as the writer says.
  const std::string line = std::string(63, 'x') + '\n';
  std::string block;
  while (block.size() < 4096)
    block += line;
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  for (size_t left = megabytes * (1 << 20); left != 0; left -= block.size()) {
    DWORD written = 0;
    WriteFile(output, block.data(), static_cast<DWORD>(block.size()), &written, nullptr);
  }
}

StringT<wchar_t> PrinterCommand(const char* megabytes) {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return (L"\"" + std::wstring(program) + L"\" print " + ToWide(megabytes).c_str()).c_str();
}

void CopyRaw(const char* megabytes, const std::wstring& file) {
  ChildProcess<void*> child;
  child.Launch(PrinterCommand(megabytes), /*showWindow=*/false, /*redirectOutput=*/true,
               /*workingDir=*/{}, /*restorePath=*/false);
  const UniqueFile output(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  char buffer[kChunk];
  for (DWORD count = 0; ReadFile(child.stdout_read(), buffer, kChunk, &count, nullptr);) {
    DWORD written = 0;
    WriteFile(output.get(), buffer, count, &written, nullptr);
  }
}

// Tells when the one run has ended.
struct End final : IRemoteAccess::IProcessOperationsEvent {
  const UniqueHandle told{CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr)};

  uint32_t OnProcessFinished(const ProcessExecutionMetadata&) override {
    SetEvent(told.get());
    return 0;
  }
};

void RunProcess(const char* megabytes, const std::wstring& file) {
  End end;
  EnabledSetting enabled;
  enabled.Prepare(nullptr, L"", /*default_value=*/true);
  const UniqueHandle stop_event(CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr));
  ProcessObservers observers;
  observers.Add(&end);
  std::unique_ptr<ThreadPool> runners;
  ProcessRuns runs(enabled, stop_event, runners, observers,
                   [](const UploadArchiveInput&, OperationResponse&) { return 0; });
  runners = std::make_unique<ThreadPool>(1);
  ProcessExecutionResponse response;
  runs.StartProcess({.commandLine = PrinterCommand(megabytes),
                     .timeout = 600,
                     .outputPath = file.c_str(),
                     .workingDir = {},
                     .runContext = {}},
                    {}, response);
  if (response.status == 0) WaitForSingleObject(end.told.get(), INFINITE);
  runners->Stop();
  runs.CleanupTempRootFolder();
}

unsigned long long SizeOf(const std::wstring& file) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data);
  return data.nFileSizeLow;  // Less than 4 GiB.
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what == "print" && argc == 3) {
    Print(std::stoul(argv[2]));
    return 0;
  }
  if (argc != 4 || (what != "run" && what != "raw")) {
    std::fprintf(stderr, "usage: process_output run|raw MEGABYTES FOLDER\n");
    return 1;
  }
  const std::wstring file = std::wstring(ToWide(argv[3]).c_str()) + L"\\output.txt";
  const auto start = Clock::now();
  what == "run" ? RunProcess(argv[2], file) : CopyRaw(argv[2], file);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf("{\"bytes\": %llu, \"seconds\": %.3f}\n", SizeOf(file), seconds);
  DeleteFileW(file.c_str());
  return 0;
}
