#pragma once

#include "module/feature/remote_access.h"
#include "module/rpc/comm/remote_access_wire.h"
#include "module/rpc/parameter_list.h"
#include "module/rpc/server.h"

namespace orn::RemoteAccess {

// The feature's end of the calls of one client: takes them apart and passes them on. All but the
// two questions are for administrators. Lives in a server_factory, which is exported as
// "RemoteAccess.Server".
class RemoteAccessServerPlugin final : public messaging::rpc::server<IRemoteAccess>,
                                       public Comm::Base {
 public:
  RemoteAccessServerPlugin();

 private:
  using ParameterList = messaging::rpc::ParameterList;

  // The methods. To the status of the call come 87 where the input cannot be read and 1627 where
  // the output cannot be written.
  int32_t SetEnabled(const ParameterList& in, ParameterList& out);
  int32_t GetEnabled(const ParameterList& in, ParameterList& out);
  int32_t GetActiveTerminalSessions(const ParameterList& in, ParameterList& out);
  int32_t StartDownload(const ParameterList& in, ParameterList& out);
  int32_t CancelDownload(const ParameterList& in, ParameterList& out);
  int32_t StartUploadArchive(const ParameterList& in, ParameterList& out);
  int32_t CancelUpload(const ParameterList& in, ParameterList& out);
  int32_t StartProcess(const ParameterList& in, ParameterList& out);

  // What the starts of transfers have in common, and their cancels. `function` is the name in the
  // log.
  template <class Input>
  int32_t StartTransfer(const wchar_t* function,
                        uint32_t (IRemoteAccess::*start)(const Input&, OperationResponse&),
                        const ParameterList& in, Comm::Parameter in_id, ParameterList& out,
                        Comm::Parameter out_id);
  int32_t CancelTransfer(const wchar_t* function,
                         uint32_t (IRemoteAccess::*cancel)(const StringT<wchar_t>&,
                                                           StringT<wchar_t>&),
                         const ParameterList& in, Comm::Parameter in_id, ParameterList& out,
                         Comm::Parameter out_id);

  // A subscription or its end, by that operation of the feature. True where it was done.
  template <class Subscriber, auto kOperation>
  bool PassOn(Subscriber* subscriber, const messaging::channel_subscriber& entry);
};

}  // namespace orn::RemoteAccess
