#include <optional>
#include <thread>

#include "bench/rpc/road.h"
#include "module/frame/handle.h"

namespace bench {
namespace {

constexpr DWORD kPipeBuffer = 64 * 1024;

std::wstring PipePath(const std::wstring& name) {
  return L"\\\\.\\pipe\\" + name;
}

// One end of a pipe.
class MessagePipe {
 public:
  explicit MessagePipe(HANDLE pipe) : pipe_(pipe) { buffer_.resize(kLargestMessage); }

  HANDLE get() const { return pipe_.get(); }

  bool Connect() {
    return ConnectNamedPipe(pipe_.get(), &overlapped_) != FALSE ||
           GetLastError() == ERROR_PIPE_CONNECTED || Finish();
  }

  bool Write(const std::string& message) {
    return WriteFile(pipe_.get(), message.data(), static_cast<DWORD>(message.size()), nullptr,
                     &overlapped_) != FALSE ||
           Finish();
  }

  bool Read(std::string& message) {
    length_ = 0;
    if (ReadFile(pipe_.get(), buffer_.data(), static_cast<DWORD>(buffer_.size()), &length_,
                 &overlapped_) == FALSE &&
        !Finish()) {
      return false;
    }
    message.assign(buffer_.data(), length_);
    return true;
  }

 private:
  bool Finish() {
    return GetLastError() == ERROR_IO_PENDING &&
           GetOverlappedResult(pipe_.get(), &overlapped_, &length_, /*bWait=*/TRUE) != FALSE;
  }

  const orn::UniqueFile pipe_;
  const orn::UniqueHandle done_{CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr)};
  OVERLAPPED overlapped_{
      .Internal = 0, .InternalHigh = 0, .Pointer = nullptr, .hEvent = done_.get()};
  std::string buffer_;
  DWORD length_ = 0;
};

class RawCaller : public Caller {
 public:
  explicit RawCaller(HANDLE pipe) : pipe_(pipe) {
    DWORD mode = PIPE_READMODE_MESSAGE;
    SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr);
  }

  bool Call(const std::string& request, std::string& answer) override {
    return pipe_.Write(request) && pipe_.Read(answer);
  }

 private:
  MessagePipe pipe_;
};

class RawRoad : public Road {
 public:
  explicit RawRoad(const std::wstring& name) : path_(PipePath(name)) {}

  std::unique_ptr<Caller> NewCaller() override {
    const HANDLE pipe = CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    return pipe == INVALID_HANDLE_VALUE ? nullptr : std::make_unique<RawCaller>(pipe);
  }

 private:
  const std::wstring path_;
};

void Echo(MessagePipe& pipe) {
  std::string message;
  while (pipe.Read(message) && pipe.Write(message)) {
  }
}

}  // namespace

std::unique_ptr<Road> OpenRawPipe(const std::wstring& name) {
  return std::make_unique<RawRoad>(name);
}

bool ServeRawPipe(const std::wstring& name, int callers) {
  for (int i = 0; i < callers; ++i) {
    const HANDLE pipe =
        CreateNamedPipeW(PipePath(name).c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_REJECT_REMOTE_CLIENTS,
                         PIPE_UNLIMITED_INSTANCES, kPipeBuffer, kPipeBuffer, 0, nullptr);
    if (pipe == INVALID_HANDLE_VALUE) return false;
    // It lasts as long as the process.
    std::thread([pipe] {
      MessagePipe served(pipe);
      if (served.Connect()) Echo(served);
    }).detach();
  }
  return true;
}

}  // namespace bench
