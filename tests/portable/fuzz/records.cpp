#include <cstdlib>
#include <string>

#include "module/feature/records_json.h"
#include "module/rpc/comm/json_data.h"

namespace {

// What loads once is saved to a text that loads again and is saved to the same.
template <class Record>
void ComesBack(const std::string& text) {
  using messaging::rpc::FromJsonData;
  using messaging::rpc::ToJsonData;
  Record record;
  if (!FromJsonData(text, record)) return;
  const std::string saved = ToJsonData(record);
  Record again;
  if (!FromJsonData(saved, again) || ToJsonData(again) != saved) std::abort();
}

}  // namespace

// A parameter of a call or an event: any record.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orn::RemoteAccess;
  const std::string text(reinterpret_cast<const char*>(data), size);
  ComesBack<DownloadInput>(text);
  ComesBack<UploadArchiveInput>(text);
  ComesBack<ProcessExecutionInput>(text);
  ComesBack<OperationResponse>(text);
  ComesBack<DownloadMetadata>(text);
  ComesBack<UploadArchiveMetadata>(text);
  ComesBack<ProcessExecutionMetadata>(text);
  ComesBack<TerminalSessionState>(text);
  std::vector<TerminalSessionState> sessions;
  messaging::rpc::ReadJsonData(
      text, [&](Json::Value* tree, const char* path) { return LoadRecords(sessions, tree, path); });
  return 0;
}
