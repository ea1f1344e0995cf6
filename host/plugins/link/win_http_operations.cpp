#include "host/plugins/link/win_http_operations.h"

namespace host::link {

namespace {

using Holder = std::shared_ptr<WinHttpOperations>;

}  // namespace

DWORD_PTR WinHttpOperations::NewContext() {
  return reinterpret_cast<DWORD_PTR>(new Holder(shared_from_this()));
}

void WinHttpOperations::DropContext(DWORD_PTR context) {
  delete reinterpret_cast<Holder*>(context);
}

void CALLBACK WinHttpOperations::OnStatus(HINTERNET, DWORD_PTR context, DWORD status,
                                          void* information, DWORD length) noexcept {
  if (context == 0) return;
  WinHttpOperations& operations = **reinterpret_cast<Holder*>(context);
  switch (status) {
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
      DropContext(context);
      break;
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
      operations.Complete(Step::kRequestSent);
      break;
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
      operations.Complete(Step::kHeadersHere);
      break;
    case WINHTTP_CALLBACK_STATUS_DATA_AVAILABLE: {
      {
        const Lock lock(operations.mutex_);
        operations.read_ = {.bytes = *static_cast<const DWORD*>(information)};
      }
      operations.Complete(Step::kDataHere);
      break;
    }
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE: {
      Read read{.bytes = length};
      if (operations.reads_ == Reads::kWebSocket) {
        const auto& part = *static_cast<const WINHTTP_WEB_SOCKET_STATUS*>(information);
        read = {.bytes = part.dwBytesTransferred, .type = part.eBufferType};
      }
      {
        const Lock lock(operations.mutex_);
        operations.read_ = read;
      }
      operations.Complete(Step::kRead);
      break;
    }
    case WINHTTP_CALLBACK_STATUS_WRITE_COMPLETE:
      operations.Complete(Step::kWritten);
      break;
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
      // A WebSocket's report begins with the same structure.
      operations.Fail(static_cast<const WINHTTP_ASYNC_RESULT*>(information)->dwError);
      break;
    default:
      break;
  }
}

void WinHttpOperations::Begin(Step step) {
  const Lock lock(mutex_);
  done_[static_cast<size_t>(step)] = false;
}

bool WinHttpOperations::Await(Step step, Clock::time_point deadline) {
  Lock lock(mutex_);
  const bool& done = done_[static_cast<size_t>(step)];
  changed_.WaitUntil(lock, deadline, [&] { return done || ended_ || failure_ != 0; });
  return done;
}

void WinHttpOperations::End() {
  const Lock lock(mutex_);
  ended_ = true;
  changed_.NotifyAll();
}

bool WinHttpOperations::has_ended() {
  const Lock lock(mutex_);
  return ended_ || failure_ != 0;
}

DWORD WinHttpOperations::failure() {
  const Lock lock(mutex_);
  return failure_;
}

WinHttpOperations::Read WinHttpOperations::last_read() {
  const Lock lock(mutex_);
  return read_;
}

void WinHttpOperations::Complete(Step step) {
  const Lock lock(mutex_);
  done_[static_cast<size_t>(step)] = true;
  changed_.NotifyAll();
}

void WinHttpOperations::Fail(DWORD error) {
  const Lock lock(mutex_);
  if (failure_ == 0) failure_ = error;
  changed_.NotifyAll();
}

}  // namespace host::link
