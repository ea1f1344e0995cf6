#include "host/messaging/message.h"

namespace host::channels {

MessageContent& Message::Own() {
  if (content_.use_count() != 1) content_ = std::make_shared<MessageContent>(*content_);
  return *content_;
}

int32_t Message::get_int(const char* name) const {
  const MessageField* const field = content_->Find(name, kInt);
  return field != nullptr ? field->number : 0;
}

void Message::set_int(const char* name, int32_t value) {
  Own().Set(name, kInt).number = value;
}

const char* Message::get_string(const char* name) const {
  const MessageField* const field = content_->Find(name, kString);
  return field != nullptr ? field->bytes.c_str() : nullptr;
}

void Message::set_string(const char* name, const char* value) {
  // A value may be this very field's.
  std::string copy(value != nullptr ? value : "");
  Own().Set(name, kString).bytes = std::move(copy);
}

const void* Message::get_binary(const char* name, uint32_t* size) const {
  const MessageField* const field = content_->Find(name, kBinary);
  *size = field != nullptr ? static_cast<uint32_t>(field->bytes.size()) : 0;
  return field != nullptr ? field->bytes.data() : nullptr;
}

void Message::set_binary(const char* name, const void* data, uint32_t size) {
  std::string copy(static_cast<const char*>(data), data != nullptr ? size : 0);
  Own().Set(name, kBinary).bytes = std::move(copy);
}

bool Message::has_field(const char* name, int32_t type) const {
  return content_->Find(name, type) != nullptr;
}

void Message::reply(message* answer) {
  if (answer == nullptr || target_ == nullptr || answered_.exchange(true)) return;
  target_->Reply(*static_cast<Message*>(answer)->content());
}

void Message::release() {
  if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

bool Message::get_property(int32_t number, uint32_t* value) const {
  if (number != kSenderProcess || !received_) return false;
  *value = sender_;
  return true;
}

}  // namespace host::channels
