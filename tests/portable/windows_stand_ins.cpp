// What headers of the module promise and Windows does, for the build machine. Wide texts hold
// UTF-16 units there too, one in each wchar_t.

#include <atomic>
#include <cstdint>
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

// Takes a code point from the front of `utf8`; of bytes that are none only the first goes.
char32_t TakeCodePoint(std::string_view& utf8) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const unsigned char first = byte(0);
  const size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  char32_t point = length == 1 ? first : first & (0x7Fu >> length);
  bool is_whole = length <= utf8.size() && (first < 0x80 || first >= 0xC2) && first < 0xF5;
  for (size_t i = 1; is_whole && i != length; ++i) {
    is_whole = (byte(i) & 0xC0) == 0x80;
    point = point << 6 | (byte(i) & 0x3F);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  is_whole = is_whole && point >= kSmallest[length] && point < 0x110000 &&
             (point < 0xD800 || point > 0xDFFF);
  utf8.remove_prefix(is_whole ? length : 1);
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
    const char32_t point = TakeCodePoint(utf16);
    const auto tail = [&](int shift) {
      bytes += static_cast<char>(0x80 | (point >> shift & 0x3F));
    };
    if (point < 0x80) {
      bytes += static_cast<char>(point);
    } else if (point < 0x800) {
      bytes += static_cast<char>(0xC0 | point >> 6);
      tail(0);
    } else if (point < 0x10000) {
      bytes += static_cast<char>(0xE0 | point >> 12);
      tail(6);
      tail(0);
    } else {
      bytes += static_cast<char>(0xF0 | point >> 18);
      tail(12);
      tail(6);
      tail(0);
    }
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
