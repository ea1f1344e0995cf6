#include "module/jobs/file_operation.h"

namespace orn::RemoteAccess {

FileOperationJob::FileOperationJob() {
  operationId.reserve(64);
  streamId.reserve(64);
}

}  // namespace orn::RemoteAccess
