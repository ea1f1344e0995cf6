#include "module/jobs/packing_control.h"

#include "module/frame/log.h"
#include "module/jobs/archive_compressor.h"

namespace orn::RemoteAccess {

bool PackingControl::IsTaskCancelled(const StringT<wchar_t>& jobId) const {
  if (cancelled_ == 0) return false;
  ORN_LOG(logging::kInformation, L"orn::RemoteAccess::FileOperationManager::IsTaskCancelled",
          L"Current task (jobId = %s) was canceled", jobId.c_str());
  return true;
}

void PackingControl::SetCompressor(ArchiveCompressor* compressor) {
  const std::lock_guard lock(mutex_);
  compressor_ = compressor;
}

bool PackingControl::AbortCompressor() {
  const std::lock_guard lock(mutex_);
  return compressor_ == nullptr || compressor_->Abort();
}

}  // namespace orn::RemoteAccess
