#include "host/plugins/storage/multipart.h"

#include "module/frame/guid.h"
#include "module/frame/utf.h"

namespace host::storage {

namespace {

// As browsers write names of fields and files.
std::string QuotedName(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"') {
      quoted += "%22";
    } else if (c == '\r') {
      quoted += "%0D";
    } else if (c == '\n') {
      quoted += "%0A";
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

}  // namespace

Multipart MakeMultipart(const std::vector<orn::RemoteAccess::PostItem>& fields,
                        std::string_view file_name) {
  // Nobody can write a field that holds it, as nobody knows it.
  const std::string boundary =
      "----RemoteAccess" + std::string(orn::ToUtf8(orn::GenerateGuid().view()).view());
  const std::string disposition = "--" + boundary + "\r\nContent-Disposition: form-data; name=";
  Multipart form;
  for (const orn::RemoteAccess::PostItem& field : fields) {
    form.head += disposition + QuotedName(field.name.view()) + "\r\n\r\n";
    form.head += field.value.view();
    form.head += "\r\n";
  }
  form.head += disposition + "\"file\"; filename=" + QuotedName(file_name) +
               "\r\nContent-Type: application/octet-stream\r\n\r\n";
  form.tail = "\r\n--" + boundary + "--\r\n";
  form.content_type = "multipart/form-data; boundary=" + boundary;
  return form;
}

}  // namespace host::storage
