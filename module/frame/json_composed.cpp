#include "module/frame/json_composed.h"

#include "module/frame/json.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"

namespace orn {

std::string JsonComposedSerializer::ElementPath(const char* key, Json::ArrayIndex index) {
  return std::string(key) + '[' + std::to_string(index) + ']';
}

bool JsonComposedSerializer::Has(const char* name) const {
  return cursor_ != nullptr && !JsonMember(*cursor_, name).isNull();
}

bool JsonComposedSerializer::Failed(const char* key) {
  ORN_LOG(logging::kInformation, L"JsonComposedSerializer::Load", L"Failed to load subnode %s",
          ToWide(key).c_str());
  return false;
}

}  // namespace orn
