// What headers of the module promise and Windows does, for the build machine. Wide texts hold
// UTF-16 units there too, one in each wchar_t.

#include <algorithm>
#include <atomic>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cuchar>
#include <iterator>
#include <string>

#include "host/requests/exports.h"
#include "module/frame/easy_event_queue.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/log_reference.h"
#include "module/frame/thread_name.h"
#include "module/frame/utf.h"
#include "module/jobs/archive_compressor.h"
#include "module/rpc/gateway_factory_holder.h"
#include "module/rpc/request_library.h"

namespace logging {

// Somebody listens: the arguments of messages are evaluated.
constinit std::atomic<uint32_t> use_counts[2] = {1, 0};

void Write(Level, const wchar_t*, const wchar_t*, ...) {}
void LogReference::Acquire() {}
void LogReference::Release() {}

}  // namespace logging

LogFunctionTrace::LogFunctionTrace(const wchar_t* function) noexcept
    : start_(0), display_name_{}, function_{} {
  std::wstring_view(function).copy(function_, std::size(function_) - 1);
}

LogFunctionTrace::~LogFunctionTrace() = default;

namespace orn {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// What the library's conversions go by.
[[maybe_unused]] const char* const locale = std::setlocale(LC_CTYPE, "C.UTF-8");

// Takes a code point from the front of `utf8`; of bytes that are none only the first goes.
char32_t TakeCodePoint(std::string_view& utf8) {
  char32_t point = 0;
  std::mbstate_t state{};
  const size_t length = std::mbrtoc32(&point, utf8.data(), utf8.size(), &state);
  const bool is_whole = length <= utf8.size();
  utf8.remove_prefix(is_whole ? std::max<size_t>(length, 1) : 1);
  return is_whole ? point : kReplacement;
}

char32_t TakeCodePoint(std::wstring_view& utf16) {
  const auto unit = [&](size_t i) { return static_cast<char32_t>(utf16[i]) & 0xFFFF; };
  char32_t point = unit(0);
  const bool is_high = point >= 0xD800 && point < 0xDC00;
  const bool is_pair = is_high && utf16.size() > 1 && unit(1) >= 0xDC00 && unit(1) < 0xE000;
  if (is_pair) {
    point = 0x10000 + ((point - 0xD800) << 10) + (unit(1) - 0xDC00);
  } else if (point >= 0xD800 && point < 0xE000) {
    point = kReplacement;
  }
  utf16.remove_prefix(is_pair ? 2 : 1);
  return point;
}

}  // namespace

StringT<wchar_t> ToWide(std::string_view utf8) {
  std::wstring units;
  while (!utf8.empty()) {
    const char32_t point = TakeCodePoint(utf8);
    if (point < 0x10000) {
      units += static_cast<wchar_t>(point);
    } else {
      units += static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
      units += static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
    }
  }
  return StringT<wchar_t>(std::wstring_view(units));
}

StringT<char> ToUtf8(std::wstring_view utf16) {
  std::string bytes;
  while (!utf16.empty()) {
    char encoded[MB_LEN_MAX];
    std::mbstate_t state{};
    bytes.append(encoded, std::c32rtomb(encoded, TakeCodePoint(utf16), &state));
  }
  return StringT<char>(std::string_view(bytes));
}

void SetThreadName(const wchar_t*) {}

uint32_t EasyEventQueue::AttachLoaded(std::wstring) {
  return error::kPathNotFound;
}

}  // namespace orn

namespace orn::RemoteAccess {

bool ArchiveCompressor::Abort() {
  return false;
}

}  // namespace orn::RemoteAccess

namespace messaging::rpc {

const RequestTable* RequestLibrary() {
  return &kRequestTable;
}

channel_gateway_factory* gateway_factory_holder::load() {
  return nullptr;
}

}  // namespace messaging::rpc
