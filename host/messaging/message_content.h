#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host::channels {

struct MessageField {
  std::string name;
  int32_t type = 0;    // messaging::message::field_type
  int32_t number = 0;  // of an integer
  std::string bytes;   // of a text or a block
};

// What a message says. A name stands once, whatever its type.
struct MessageContent {
  int32_t type = 0;
  std::vector<MessageField> fields;

  // Null where there is no field of that name and type.
  const MessageField* Find(std::string_view name, int32_t field_type) const {
    for (const MessageField& field : fields) {
      if (field.name == name) return field.type == field_type ? &field : nullptr;
    }
    return nullptr;
  }

  // The field of that name, new or emptied, with that type from now on.
  MessageField& Set(std::string_view name, int32_t field_type) {
    for (MessageField& field : fields) {
      if (field.name != name) continue;
      field.type = field_type;
      field.bytes.clear();
      return field;
    }
    return fields.emplace_back(MessageField{std::string(name), field_type, 0, {}});
  }
};

}  // namespace host::channels
