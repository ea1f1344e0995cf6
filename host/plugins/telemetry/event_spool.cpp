#include "host/plugins/telemetry/event_spool.h"

#include <utility>

#include "module/frame/path.h"

namespace host {

EventSpool::EventSpool(std::wstring folder, const std::wstring& name, uint64_t limit)
    : folder_(std::move(folder)),
      path_(folder_ + L'\\' + name + L".jsonl"),
      old_path_(folder_ + L'\\' + name + L".1.jsonl"),
      limit_(limit) {}

uint32_t EventSpool::Append(std::string_view line) {
  const Lock lock(mutex_);
  if (file_ && size_ > 0 && size_ + line.size() > limit_) {
    file_.reset();
    MoveFileExW(path_.c_str(), old_path_.c_str(), MOVEFILE_REPLACE_EXISTING);
  }
  if (!file_) {
    if (const uint32_t failure = OpenLocked(); failure != 0) return failure;
  }
  DWORD written = 0;
  if (!WriteFile(file_.get(), line.data(), static_cast<DWORD>(line.size()), &written,
                 /*lpOverlapped=*/nullptr)) {
    const uint32_t failure = GetLastError();
    file_.reset();  // Whatever happened to it, the next line starts afresh.
    return failure;
  }
  size_ += written;
  return 0;
}

uint32_t EventSpool::OpenLocked() {
  orn::PathStringT<260> folder;
  folder = folder_.c_str();
  if (!orn::CreateFolderRecursively(folder)) return GetLastError();
  file_.reset(CreateFileW(path_.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE,
                          /*lpSecurityAttributes=*/nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                          /*hTemplateFile=*/nullptr));
  if (!file_) return GetLastError();
  LARGE_INTEGER size = {};
  if (!GetFileSizeEx(file_.get(), &size)) return GetLastError();
  size_ = static_cast<uint64_t>(size.QuadPart);
  return 0;
}

}  // namespace host
