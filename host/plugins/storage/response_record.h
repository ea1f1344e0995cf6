#pragma once

#include <string>

#include "host/plugins/storage/http_request.h"
#include "module/feature/records.h"

namespace host::storage {

// The record of a response: a body that is text or JSON as such, any other in Base64.
orn::RemoteAccess::HttpResponse MakeResponseRecord(const ResponseHead& head,
                                                   const std::string& body);

// Reads what there is of the response's body, at most 1 MiB. What goes wrong meanwhile is no
// failure: the status has told the end of the request.
std::string ReadResponseBody(HttpRequest& request);

}  // namespace host::storage
