// A file over HTTP, down and up: as the agent's storage does it, and the raw limit, a bare loop
// over WinHTTP between the same server and file.
//
//   transfer raw|storage down|up PORT FOLDER    "file" in FOLDER, from or to http://127.0.0.1:PORT;
//                                               prints {"seconds": s}

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "host/plugins/common/fake_host.h"
#include "host/plugins/storage/centralized_storage_plugin.h"
#include "module/frame/handle.h"
#include "module/frame/utf.h"

#include <winhttp.h>

namespace {

using orn::tsrsdk::Product::ICentralizedStorage;
using Clock = std::chrono::steady_clock;
using Text = orn::StringT<wchar_t>;

constexpr DWORD kChunk = 256 * 1024;  // as the storage reads and writes

struct CloseInternet {
  void operator()(void* handle) const { WinHttpCloseHandle(handle); }
};
using InternetHandle = std::unique_ptr<void, CloseInternet>;

orn::UniqueFile Open(const std::wstring& file, DWORD access, DWORD disposition) {
  return orn::UniqueFile(CreateFileW(file.c_str(), access, FILE_SHARE_READ, nullptr, disposition,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool CopyRaw(bool down, INTERNET_PORT port, const std::wstring& path) {
  const InternetHandle session(
      WinHttpOpen(L"bench", WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
  const InternetHandle connection(WinHttpConnect(session.get(), L"127.0.0.1", port, 0));
  const InternetHandle request(WinHttpOpenRequest(connection.get(), down ? L"GET" : L"POST",
                                                  L"/file", nullptr, nullptr, nullptr, 0));
  const orn::UniqueFile file =
      down ? Open(path, GENERIC_WRITE, CREATE_ALWAYS) : Open(path, GENERIC_READ, OPEN_EXISTING);
  const auto buffer = std::make_unique<char[]>(kChunk);
  DWORD count = 0;
  DWORD done = 0;
  const DWORD length = down ? 0 : GetFileSize(file.get(), nullptr);
  if (!WinHttpSendRequest(request.get(), nullptr, 0, nullptr, 0, length, 0)) return false;
  if (!down) {
    while (ReadFile(file.get(), buffer.get(), kChunk, &count, nullptr) && count != 0) {
      if (!WinHttpWriteData(request.get(), buffer.get(), count, &done)) return false;
    }
  }
  if (!WinHttpReceiveResponse(request.get(), nullptr)) return false;
  while (WinHttpReadData(request.get(), buffer.get(), kChunk, &count) && count != 0) {
    if (down) WriteFile(file.get(), buffer.get(), count, &done, nullptr);
  }
  return true;
}

// Waits for the one transfer.
struct Report final : ICentralizedStorage::IFileManagerEvent {
  const orn::UniqueHandle told{CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr)};
  int32_t error = -1;

  uint32_t Tell(int32_t code) {
    error = code;
    return SetEvent(told.get()) ? 0 : GetLastError();
  }
  uint32_t OnUploadFinished(const Text&,
                            const orn::RemoteAccess::UploadArchiveMetadata& end) override {
    return Tell(end.centralizedStorage.error);
  }
  uint32_t OnDownloadFinished(const Text&,
                              const orn::RemoteAccess::DownloadMetadata& end) override {
    return Tell(end.centralizedStorage.error);
  }
};

bool CopyByStorage(bool down, INTERNET_PORT port, const std::wstring& path) {
  host::FakeHost host;
  const auto set = [&](const wchar_t* option, const std::wstring& value) {
    host.SetOption(L"Product.CentralizedStorage", option, value.c_str());
  };
  set(L"profiles", L"p");
  set(L"p.address", L"http://127.0.0.1:" + std::to_wstring(port));
  set(L"p.maxSize", L"4000000000");
  host::storage::TransferLimits limits;
  limits.report_delay = {};  // No part of the transfer.
  host::CentralizedStoragePlugin storage(limits);
  Report report;
  if (storage.Init(&host) != 0 || storage.Start() != 0) return false;
  storage.RegisterFileManagerEvent(&report);
  Text id;
  uint32_t code = 0;
  if (down) {
    orn::RemoteAccess::DownloadInput input;
    input.items.push_back({.sourceUri = "file", .to = path.c_str()});
    input.profile = L"p";
    orn::RemoteAccess::OperationResponse response;
    code = storage.Download(input, response, id);
  } else {
    orn::tsrsdk::Product::UploadRequest request;
    request.items.push_back({.name = "file", .path = path.c_str()});
    request.profile = L"p";
    orn::tsrsdk::Product::UploadStarted started;
    code = storage.Upload(request, started, id);
  }
  if (code == 0) WaitForSingleObject(report.told.get(), INFINITE);
  storage.UnregisterFileManagerEvent(&report);
  storage.Stop();
  return report.error == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: transfer raw|storage down|up PORT FOLDER\n");
    return 1;
  }
  const bool down = argv[2] == std::string("down");
  const auto port = static_cast<INTERNET_PORT>(std::stoi(argv[3]));
  const std::wstring path = std::wstring(orn::ToWide(argv[4]).c_str()) + L"\\file";
  const auto start = Clock::now();
  const bool copied =
      argv[1] == std::string("raw") ? CopyRaw(down, port, path) : CopyByStorage(down, port, path);
  std::printf("{\"seconds\": %.3f}\n", std::chrono::duration<double>(Clock::now() - start).count());
  return copied ? 0 : 1;
}
