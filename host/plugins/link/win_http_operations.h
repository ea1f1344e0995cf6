#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/common/sync.h"
#include "module/frame/windows.h"

#include <winhttp.h>

namespace host::link {

struct InternetHandleCloser {
  void operator()(HINTERNET handle) const { WinHttpCloseHandle(handle); }
};
using UniqueInternet = std::unique_ptr<void, InternetHandleCloser>;

// The operations under way on one connection, as the library's callbacks report them. Lives until
// the last handle that knows it has closed, which may be long after its connection was given up:
// the library writes into its buffer until then.
class WinHttpOperations : public std::enable_shared_from_this<WinHttpOperations> {
 public:
  enum class Step { kRequestSent, kHeadersHere, kDataHere, kRead, kWritten };
  // What reads are of: they are reported in two forms.
  enum class Reads { kWebSocket, kResponse };

  struct Read {
    DWORD bytes = 0;
    WINHTTP_WEB_SOCKET_BUFFER_TYPE type = WINHTTP_WEB_SOCKET_UTF8_MESSAGE_BUFFER_TYPE;
  };

  explicit WinHttpOperations(Reads reads = Reads::kWebSocket) : reads_(reads) {}

  // What a handle gets as its context; taken back when that handle closes.
  DWORD_PTR NewContext();
  // For a context that no handle has taken.
  static void DropContext(DWORD_PTR context);
  static void CALLBACK OnStatus(HINTERNET handle, DWORD_PTR context, DWORD status,
                                void* information, DWORD length) noexcept;

  // Each step is begun before its operation is started.
  void Begin(Step step);
  // True once the step is done; false when it failed, all is over, or the deadline has passed.
  bool Await(Step step, Clock::time_point deadline);

  // Ends every wait, now and later.
  void End();
  bool has_ended();
  // The Windows error of the operation that failed, or 0.
  DWORD failure();
  // Of the last read, or what the next one can have at once.
  Read last_read();

  std::vector<char> read_buffer = std::vector<char>(16 * 1024);
  std::string write_buffer;

 private:
  void Complete(Step step);
  void Fail(DWORD error);

  const Reads reads_;

  Mutex mutex_;
  Condition changed_;
  bool done_[5] = {};
  bool ended_ = false;
  DWORD failure_ = 0;
  Read read_;
};

}  // namespace host::link
