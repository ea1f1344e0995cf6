#include "module/rpc/comm/remote_terminal_mgr_parameters.h"

#include <string>
#include <string_view>

#include "module/frame/json_composed.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/comm/remote_terminal_mgr_wire.h"

namespace orn::RemoteTerminalMgr::Comm {

using messaging::rpc::ParameterList;
using RemoteTerminal::TerminalSize;

bool AddId(ParameterList& list, const StringT<char>& id) {
  return list.AddBytes(kId, id.view());
}

bool ReadId(const ParameterList& list, StringT<char>& id) {
  std::string text;
  if (!list.ReadBytes(kId, text)) return false;
  id = std::string_view(text);
  return true;
}

bool AddSize(ParameterList& list, const TerminalSize& size) {
  const std::string text = messaging::rpc::WriteJsonData([&](Json::Value* node) {
    return SetJson(size.cols, node, "cols") && SetJson(size.rows, node, "rows");
  });
  return list.AddBytes(kSize, text);
}

bool ReadSize(const ParameterList& list, TerminalSize& size) {
  std::string text;
  return list.ReadBytes(kSize, text) &&
         messaging::rpc::ReadJsonData(text, [&](Json::Value* tree, const char* path) {
           return JsonComposedSerializer(tree).Group(path, [&](const JsonComposedSerializer& at) {
             return at.Field(size.cols, "cols") && at.Field(size.rows, "rows");
           });
         });
}

}  // namespace orn::RemoteTerminalMgr::Comm
