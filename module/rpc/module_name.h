#pragma once

namespace messaging::rpc {

// The name of the module behind an interface that travels: from it come the names of channel and
// queues, and the server finds the implementation under it. Each such interface says its own:
//
//   template <>
//   inline constexpr const char* module_name<IRemoteAccess> = "RemoteAccess";
template <class I>
inline constexpr const char* module_name = nullptr;

}  // namespace messaging::rpc
