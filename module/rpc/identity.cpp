#include "module/rpc/identity.h"

#include <chrono>
#include <exception>
#include <thread>

#ifdef _WIN32
#include "module/frame/windows.h"
#else
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace messaging::rpc {
namespace {

constexpr int kLetters = 32;

uint64_t PerformanceCounter() {
#ifdef _WIN32
  LARGE_INTEGER counter;
  QueryPerformanceCounter(&counter);
  return static_cast<uint64_t>(counter.QuadPart);
#else
  return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

uint32_t CurrentThreadId() {
#ifdef _WIN32
  return GetCurrentThreadId();
#else
  return static_cast<uint32_t>(syscall(SYS_gettid));
#endif
}

// Unique in the time of one counter tick; the sleep sees to it that the next call is in another.
std::string SuffixOfPlaceAndTime() {
  const uint64_t counter = PerformanceCounter();
  std::string suffix = std::to_string(counter >> 32) + "." + std::to_string(counter & 0xFFFFFFFF) +
                       "." + std::to_string(current_process_id()) + "." +
                       std::to_string(CurrentThreadId());
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return suffix;
}

}  // namespace

std::string make_identity(const char* prefix, const std::function<uint32_t()>& random_device) {
  std::string identity = prefix;
  try {
    std::mt19937 generator(random_device());
    std::uniform_int_distribution<int> letter('a', 'z');
    for (int i = 0; i < kLetters; ++i)
      identity += static_cast<char>(letter(generator));
    return identity;
  } catch (const std::exception&) {
    return prefix + SuffixOfPlaceAndTime();
  }
}

uint32_t current_process_id() {
#ifdef _WIN32
  return GetCurrentProcessId();
#else
  return static_cast<uint32_t>(getpid());
#endif
}

}  // namespace messaging::rpc
