#include "host/plugins/history/history_outlet.h"

#include <limits>

#include "module/frame/error_codes.h"
#include "module/frame/json.h"
#include "module/frame/scope_guard.h"
#include "module/frame/utf.h"

namespace host::history {
namespace {

constexpr int64_t kNoLimit = std::numeric_limits<int64_t>::max();
constexpr int64_t kDefaultCount = 100;
constexpr int64_t kMostCount = 500;
// Of the records' JSON, which the connection's message escapes once more: it must stay below 1 MiB.
constexpr size_t kMostBytes = 400 * 1024;

// False where the member is there and is no whole number within 1 and `most`.
bool ReadNumber(const Json::Value& parameters, const char* name, int64_t most, int64_t& number) {
  const Json::Value& member = orn::JsonMember(parameters, name);
  if (member.isNull()) return true;
  if (!member.isInt64() || member.asInt64() < 1 || member.asInt64() > most) return false;
  number = member.asInt64();
  return true;
}

std::string Utf8(std::wstring_view text) {
  const orn::StringT<char> utf8 = orn::ToUtf8(text);
  return std::string(utf8.view());
}

Json::Value JsonOf(const HistoryRecord& record) {
  Json::Value json(Json::objectValue);
  json["sequence"] = Json::Int64{record.sequence};
  json["time"] = Json::Int64{record.time};
  json["feature"] = Utf8(record.feature);
  json["hash"] = HexText(record.hash);
  Json::Value& values = json["values"] = Json::objectValue;
  auto* const each = record.data.values.GetConstEnum();
  const orn::ScopeGuard release([each] { each->Release(); });
  for (; each->HasNext(); each->Next())
    values[std::to_string(*each->GetKey())] = Utf8(each->GetValue()->view());
  return json;
}

}  // namespace

uint32_t HistoryOutlet::OnRpcMethod(const VeldConnector::Rpc::Request& request,
                                    VeldConnector::Rpc::Reply& reply) {
  reply.code = request.method == "GetRecords" ? GetRecords(request.parameters, reply.text)
                                              : static_cast<int32_t>(error::kNotSupported);
  return error::kSuccess;
}

int32_t HistoryOutlet::GetRecords(const std::string& parameters, std::string& text) const {
  Json::Value json;
  int64_t before = kNoLimit;
  int64_t limit = kDefaultCount;
  if (!orn::JsonReader().Parse(parameters, json) || !json.isObject() ||
      !ReadNumber(json, "before", kNoLimit, before) ||
      !ReadNumber(json, "limit", kMostCount, limit)) {
    return error::kBadParameter;
  }
  std::vector<HistoryRecord> records;
  int64_t total = 0;
  const uint32_t status = reader_.ReadBefore(before, static_cast<size_t>(limit), records, total);
  // Without a file there is no history yet.
  if (status != 0 && status != error::kPathNotFound) {
    return static_cast<int32_t>(status);
  }
  Json::Value result(Json::objectValue);
  result["total"] = Json::Int64{total};
  Json::Value& list = result["records"] = Json::arrayValue;
  size_t bytes = 0;
  for (const HistoryRecord& record : records) {
    Json::Value entry = JsonOf(record);
    bytes += orn::JsonWriter().Write(entry).size();
    if (bytes > kMostBytes && !list.empty()) break;
    list.append(std::move(entry));
  }
  text = orn::JsonWriter().Write(result);
  return 0;
}

}  // namespace host::history
