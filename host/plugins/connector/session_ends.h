#pragma once

#include <string>

#include "module/frame/interface_id.h"

namespace host {

// A further face of "VeldConnector", for plug-ins that tell the user of a stream that its session
// has ended for another reason than the stream's.
struct ISessionEnds {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{E2B61F84-5D0A-4C97-9E13-A86D47F0C35B}");
  static constexpr const wchar_t* kTypeName = L"host::ISessionEnds";

  // To be asked before the user of the stream `id` is told. True: the stream will bring no end of
  // its own. False: it has brought one, and the user must not be told; two ends at once would wait
  // for each other in there. True also for an id that no stream has. Waits for the call that opened
  // the stream to return. Any thread.
  virtual bool MayTellEnd(const std::string& id) = 0;

 protected:
  ~ISessionEnds() = default;
};

}  // namespace host
