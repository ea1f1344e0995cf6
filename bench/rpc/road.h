#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

// The ways from one process to another that are held against each other. Each is an echo: the
// answer has the bytes of the request.
namespace bench {

// What one caller calls through, on a thread of its own.
struct Caller {
  virtual ~Caller() = default;
  // False where it went wrong.
  virtual bool Call(const std::string& request, std::string& answer) = 0;
};

// The calling end; it has its server as long as it lives.
struct Road {
  virtual ~Road() = default;
  virtual std::unique_ptr<Caller> NewCaller() = 0;
};

inline constexpr size_t kLargestMessage = 1 << 20;

// Message pipes with overlapped operations, one for each caller.
std::unique_ptr<Road> OpenRawPipe(const std::wstring& name);
bool ServeRawPipe(const std::wstring& name, int callers);

// The system's own local calls ("ncalrpc"), with stubs that only copy.
std::unique_ptr<Road> OpenSystemRpc(const std::wstring& name);
bool ServeSystemRpc(const std::wstring& name, int callers);

// The module's remote calls, to a host of the agent.
std::unique_ptr<Road> OpenOurRpc(const std::wstring& name);

}  // namespace bench
