#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "module/feature/records.h"

namespace host::storage {

// A form as "multipart/form-data" carries it: the fields in their order, then one file, named
// "file", whose content goes between `head` and `tail`.
struct Multipart {
  std::string head;
  std::string tail;
  std::string content_type;
};

// `file_name` is UTF-8.
Multipart MakeMultipart(const std::vector<orn::RemoteAccess::PostItem>& fields,
                        std::string_view file_name);

}  // namespace host::storage
