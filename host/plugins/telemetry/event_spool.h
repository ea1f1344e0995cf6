#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/common/sync.h"
#include "module/frame/handle.h"

namespace host {

// A file of lines that keeps the last of them: when "NAME.jsonl" is full it becomes "NAME.1.jsonl",
// in place of the one before. Any thread.
class EventSpool {
 public:
  // `limit` is the size of one of the two files, in bytes.
  EventSpool(std::wstring folder, const std::wstring& name, uint64_t limit);
  EventSpool(const EventSpool&) = delete;
  EventSpool& operator=(const EventSpool&) = delete;

  // When it returns 0 the line is in the file, and survives the end of this process. Otherwise a
  // Windows error. The line brings its own line feed.
  uint32_t Append(std::string_view line);

 private:
  uint32_t OpenLocked();

  const std::wstring folder_;
  const std::wstring path_;
  const std::wstring old_path_;
  const uint64_t limit_;

  Mutex mutex_;
  orn::UniqueFile file_;
  uint64_t size_ = 0;
};

}  // namespace host
