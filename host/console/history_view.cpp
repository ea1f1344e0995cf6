#include "host/console/history_view.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/common/file_path.h"
#include "host/service/report.h"
#include "module/frame/error_codes.h"
#include "module/frame/thread_name.h"

namespace host::console {
namespace {

using history::HistoryRecord;

constexpr const wchar_t* kFunction = L"host::console::HistoryView";
// A window asks for a line at a time.
constexpr size_t kBlock = 64;

orn::UniqueHandle AutoResetEvent() {
  return orn::UniqueHandle(CreateEventW(/*security=*/nullptr, /*manualReset=*/FALSE,
                                        /*signalled=*/FALSE, /*name=*/nullptr));
}

}  // namespace

HistoryView::HistoryView(const std::wstring& file, std::function<void()> changed)
    : reader_(file),
      folder_(FolderOf(file)),
      changed_(std::move(changed)),
      look_(AutoResetEvent()),
      stop_(AutoResetEvent()) {}

void HistoryView::Start() {
  Watch();
  Update();
  thread_ = std::thread([this] {
    orn::SetThreadName(L"ConsoleHistory");
    Run();
  });
}

void HistoryView::Stop() {
  if (!thread_.joinable()) return;
  SetEvent(stop_.get());
  thread_.join();
}

size_t HistoryView::GetSize() {
  const Lock lock(mutex_);
  return size_;
}

std::vector<HistoryRecord> HistoryView::Read(size_t first, size_t count) {
  Lock lock(mutex_);
  if (first >= size_) return {};
  count = std::min(count, size_ - first);
  if (first < block_first_ || first + count > block_first_ + block_.size()) {
    const size_t from = first - std::min(first, kBlock / 4);
    const size_t size = size_;
    lock.unlock();
    std::vector<HistoryRecord> block;
    int64_t total = 0;
    const uint32_t status = reader_.ReadNewest(
        static_cast<int64_t>(from), std::max(kBlock, first - from + count), block, total);
    lock.lock();
    if (status != 0 || first - from > block.size()) return {};
    if (size != size_ || total != static_cast<int64_t>(size)) {
      // The file has moved on, which the thread is about to tell.
      block.erase(block.begin(), block.begin() + static_cast<ptrdiff_t>(first - from));
      if (block.size() > count) block.resize(count);
      return block;
    }
    block_ = std::move(block);
    block_first_ = from;
  }
  const auto begin = block_.begin() + static_cast<ptrdiff_t>(first - block_first_);
  return {begin,
          begin + std::min(static_cast<ptrdiff_t>(count), std::distance(begin, block_.end()))};
}

void HistoryView::Run() {
  for (;;) {
    HANDLE handles[] = {stop_.get(), look_.get(), watch_};
    const DWORD count = watch_ == INVALID_HANDLE_VALUE ? 2 : 3;
    if (WaitForMultipleObjects(count, handles, /*waitAll=*/FALSE, INFINITE) == WAIT_OBJECT_0) break;
    // Before the look, so that no change falls between the two.
    Watch();
    if (Update()) changed_();
  }
  if (watch_ != INVALID_HANDLE_VALUE) FindCloseChangeNotification(watch_);
}

// Anew each time: the folder may be another one, or there for the first time. Where there is none
// yet, the nearest one above tells of it.
void HistoryView::Watch() {
  if (watch_ != INVALID_HANDLE_VALUE) FindCloseChangeNotification(watch_);
  std::wstring folder = folder_;
  do {
    const DWORD filter = folder == folder_
                             ? FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE
                             : FILE_NOTIFY_CHANGE_DIR_NAME;
    watch_ = FindFirstChangeNotificationW(folder.c_str(), /*subtree=*/FALSE, filter);
    folder = FolderOf(folder);
  } while (watch_ == INVALID_HANDLE_VALUE && folder.size() > 2);
}

bool HistoryView::Update() {
  std::vector<HistoryRecord> newest;
  int64_t total = 0;
  const uint32_t status = reader_.ReadNewest(/*first=*/0, /*count=*/1, newest, total);
  // The writer is about, and will be heard of again.
  if (status == error::kBusy) {
    Look();
    return false;
  }
  if (status != 0 && status != problem_) {
    ORN_LOG(logging::kNotice, kFunction, L"There is no history to be read: %s",
            DescribeCode(status).c_str());
  }
  problem_ = status;
  if (status != 0) newest.clear();
  const size_t size = newest.empty() ? 0 : static_cast<size_t>(total);
  const history::Hash hash = newest.empty() ? history::Hash() : newest.front().hash;
  const Lock lock(mutex_);
  if (size == size_ && hash == newest_) return false;
  size_ = size;
  newest_ = hash;
  block_.clear();
  return true;
}

}  // namespace host::console
