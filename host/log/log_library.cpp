#include "host/log/log_library.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <pugixml.hpp>

#include <exception>
#include <utility>

#include "host/common/file_path.h"
#include "host/common/log_settings.h"
#include "host/log/message_format.h"

namespace host::log {
namespace {

constexpr uint32_t kErrorLevel = 2;
constexpr uint32_t kWarningLevel = 4;
constexpr uint32_t kFileTarget = 1;
constexpr uint32_t kDebuggerTarget = 2;
constexpr uint32_t kNewFileMode = 1;
constexpr uint64_t kOpeningPause = 1000;  // Milliseconds.

FILETIME InMilliseconds(int64_t milliseconds) {
  const auto ticks = static_cast<uint64_t>(-milliseconds * 10000);  // Negative: from now on.
  return {.dwLowDateTime = static_cast<DWORD>(ticks),
          .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
}

int64_t UnixMilliseconds() {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const uint64_t ticks = uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  return static_cast<int64_t>(ticks / 10000) - 11644473600000;
}

}  // namespace

LogLibrary::LogLibrary() = default;

LogLibrary::~LogLibrary() = default;

void LogLibrary::AddUser() {
  const std::lock_guard lock(mutex_);
  if (users_++ == 0) flush_timer_ = CreateThreadpoolTimer(OnFlushTimer, this, nullptr);
}

void LogLibrary::RemoveUser() {
  PTP_TIMER timer = nullptr;
  {
    const std::lock_guard lock(mutex_);
    FlushLocked();
    if (users_ == 0 || --users_ > 0) return;
    timer = std::exchange(flush_timer_, nullptr);
    CloseLocked();
  }
  // The library may be unloaded as soon as this returns: nothing of it may be running on the thread
  // pool.
  monitor_.Stop();
  if (timer == nullptr) return;
  SetThreadpoolTimer(timer, nullptr, 0, 0);
  WaitForThreadpoolTimerCallbacks(timer, /*cancelPending=*/TRUE);
  CloseThreadpoolTimer(timer);
}

void LogLibrary::Flush() {
  const std::lock_guard lock(mutex_);
  FlushLocked();
}

uint32_t LogLibrary::SetSettingsFile(const wchar_t* path) {
  const std::lock_guard lock(mutex_);
  settings_file_ = path == nullptr ? L"" : path;
  return settings_file_.empty() ? ERROR_INVALID_PARAMETER : 0;
}

uint32_t LogLibrary::ApplySettings() try {
  std::wstring file;
  {
    const std::lock_guard lock(mutex_);
    file = settings_file_;
  }
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_file(file.c_str());
  if (result.status == pugi::status_file_not_found) return ERROR_FILE_NOT_FOUND;
  const pugi::xml_node element = document.document_element().child("log");
  LogSettings settings;
  if (!result || !element || !ReadLogSettings(element, FolderOf(file), settings).empty()) {
    return ERROR_INVALID_DATA;
  }
  SetLevel(settings.level_mask);
  SetMaxSize(settings.max_size, settings.files);
  return SetPath(settings.path.c_str());
} catch (const std::exception&) {
  return ERROR_NOT_ENOUGH_MEMORY;
}

uint32_t LogLibrary::MonitorSettings(bool on) {
  if (!on) {
    monitor_.Stop();
    return 0;
  }
  std::wstring file;
  {
    const std::lock_guard lock(mutex_);
    file = settings_file_;
  }
  return monitor_.Start(file, [this] {
    if (const uint32_t status = ApplySettings(); status != 0) {
      Write(kWarningLevel, L"LogMonitorSettings", L"The changed settings were not applied: %u",
            status);
    }
  });
}

uint32_t LogLibrary::SetPath(const wchar_t* path) {
  const std::lock_guard lock(mutex_);
  const std::wstring_view wanted = path == nullptr ? L"" : path;
  if (wanted != path_) CloseLocked();
  path_ = wanted;
  next_opening_ = 0;
  return path_.empty() || OpenLocked() ? 0 : ERROR_OPEN_FAILED;
}

void LogLibrary::SetMaxSize(uint64_t bytes, uint32_t files) {
  const std::lock_guard lock(mutex_);
  if (bytes == max_size_ && files == files_) return;
  max_size_ = bytes == 0 ? 1 : bytes;
  files_ = files;
  CloseLocked();
}

void LogLibrary::Write(uint16_t depth_change, uint32_t level, const wchar_t* function,
                       const wchar_t* format, va_list args) {
  const DWORD last_error = GetLastError();
  const uint32_t depth = depth_.Change(depth_change);
  if (enabled_ && (level & level_mask_) != 0) {
    try {
      const std::wstring message = FormatWide(format, args);
      const std::string line =
          FormatLine({.unix_milliseconds = UnixMilliseconds(),
                      .process = GetCurrentProcessId(),
                      .thread = GetCurrentThreadId(),
                      .depth = std::min<uint32_t>(depth, deepest_),
                      .level = level,
                      .function = function == nullptr ? std::wstring_view() : function,
                      .message = message});
      if ((targets_ & kDebuggerTarget) != 0) OutputDebugStringW(WideText(line + '\n').c_str());
      if ((targets_ & kFileTarget) != 0) {
        const std::lock_guard lock(mutex_);
        WriteLineLocked(line, level);
      }
    } catch (const std::exception&) {
      // Without memory for it, the line is lost.
    }
  }
  SetLastError(last_error);
}

void LogLibrary::Write(uint32_t level, const wchar_t* function, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  Write(/*depth_change=*/0, level, function, format, args);
  va_end(args);
}

void CALLBACK LogLibrary::OnFlushTimer(PTP_CALLBACK_INSTANCE, void* context, PTP_TIMER) {
  static_cast<LogLibrary*>(context)->Flush();
}

void LogLibrary::WriteLineLocked(const std::string& line, uint32_t level) {
  if (!file_ && !OpenLocked()) return;
  try {
    file_->log(
        spdlog::details::log_msg(spdlog::source_loc(), /*logger=*/"", spdlog::level::info, line));
  } catch (const std::exception&) {
    // The disk is full, or a reader keeps the file from being renamed: the line is lost.
  }
  if (level == kErrorLevel) {
    FlushLocked();
  } else {
    FlushSoonLocked();
  }
}

bool LogLibrary::OpenLocked() {
  if (file_) return true;
  const uint64_t now = GetTickCount64();
  if (path_.empty() || now < next_opening_) return false;
  try {
    file_ = std::make_unique<spdlog::sinks::rotating_file_sink_st>(
        path_, max_size_, files_, /*rotate_on_open=*/mode_ == kNewFileMode);
    file_->set_formatter(std::make_unique<spdlog::pattern_formatter>(
        "%v", spdlog::pattern_time_type::utc, /*eol=*/"\n"));
  } catch (const std::exception&) {
    next_opening_ = now + kOpeningPause;
  }
  return file_ != nullptr;
}

void LogLibrary::CloseLocked() {
  FlushLocked();
  file_.reset();
}

void LogLibrary::FlushLocked() {
  flush_pending_ = false;
  if (!file_) return;
  try {
    file_->flush();
  } catch (const std::exception&) {
    // What could not be written stays in the buffer.
  }
}

void LogLibrary::FlushSoonLocked() {
  if (flush_pending_) return;
  if (flush_timer_ == nullptr) return FlushLocked();
  flush_pending_ = true;
  FILETIME due = InMilliseconds(1000);
  SetThreadpoolTimer(flush_timer_, &due, /*period=*/0, /*window=*/100);
}

}  // namespace host::log
