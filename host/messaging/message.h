#pragma once

#include <atomic>
#include <memory>

#include "host/messaging/message_content.h"
#include "module/platform/messaging.h"

namespace host::channels {

// Where the answer to a received message goes. Its end is the sign that no answer will come.
class ReplyTarget {
 public:
  virtual ~ReplyTarget() = default;
  // Called at most once.
  virtual void Reply(const MessageContent& answer) = 0;
};

// A message of the library's users. Setting and reading are one thread's at a time; references,
// and reply, are any thread's.
class Message final : public messaging::message {
 public:
  // One of the user's own making.
  Message() : content_(std::make_shared<MessageContent>()) {}
  // One that was received; the content may be shared with others who only read it. `sender` is 0
  // for this process; `target` may be null.
  Message(std::shared_ptr<MessageContent> content, uint32_t sender,
          std::shared_ptr<ReplyTarget> target)
      : content_(std::move(content)),
        sender_(sender),
        received_(true),
        target_(std::move(target)) {}

  int32_t get_type() const override { return content_->type; }
  void set_type(int32_t type) override { Own().type = type; }
  int32_t get_int(const char* name) const override;
  void set_int(const char* name, int32_t value) override;
  const char* get_string(const char* name) const override;
  void set_string(const char* name, const char* value) override;
  const void* get_binary(const char* name, uint32_t* size) const override;
  void set_binary(const char* name, const void* data, uint32_t size) override;
  bool has_field(const char* name, int32_t type) const override;
  void reply(message* answer) override;
  void add_ref() override { references_.fetch_add(1, std::memory_order_relaxed); }
  void release() override;
  bool get_property(int32_t number, uint32_t* value) const override;

  // For who sends it: later changes of the message leave what this gives as it is.
  const std::shared_ptr<MessageContent>& content() const { return content_; }

 private:
  ~Message() = default;
  // The content, this message's alone.
  MessageContent& Own();

  std::shared_ptr<MessageContent> content_;
  const uint32_t sender_ = 0;
  const bool received_ = false;
  const std::shared_ptr<ReplyTarget> target_;

  std::atomic<bool> answered_{false};
  std::atomic<uint32_t> references_{1};
};

}  // namespace host::channels
