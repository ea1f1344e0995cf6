#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "module/platform/messaging.h"
#include "module/rpc/message_ptr.h"

namespace messaging::testing {

class memory_process;

// A request that somebody waits for: who may still answer, and the first answer. Any thread.
class pending_request {
 public:
  explicit pending_request(const memory_process* sender) : sender_(sender) {}

  void expect(const memory_process* receiver);
  void answer(const memory_process* receiver, rpc::message_ptr answer);
  void let_go(const memory_process* receiver);
  // That process, as sender or receiver, takes part no more.
  void cut_off(const memory_process* process);
  // Waits for an answer, the last receiver's leave or the end of the time.
  rpc::message_ptr wait(uint32_t milliseconds);

 private:
  const memory_process* const sender_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<const memory_process*> receivers_;
  rpc::message_ptr answer_;
};

// As one process made it or another received it.
class memory_message final : public message {
 public:
  static memory_message* make() { return new memory_message; }
  // The copy that `receiver` gets. `pending` is empty where nobody waits.
  static memory_message* make_received(const message& sent, const memory_process* receiver,
                                       uint32_t sender_pid,
                                       std::shared_ptr<pending_request> pending);

  int32_t get_type() const override { return type_; }
  void set_type(int32_t type) override { type_ = type; }
  int32_t get_int(const char* name) const override;
  void set_int(const char* name, int32_t value) override { fields_[name] = value; }
  const char* get_string(const char* name) const override;
  void set_string(const char* name, const char* value) override {
    fields_[name] = std::string(value);
  }
  const void* get_binary(const char* name, uint32_t* size) const override;
  void set_binary(const char* name, const void* data, uint32_t size) override;
  bool has_field(const char* name, int32_t type) const override;
  void reply(message* answer) override;
  void add_ref() override { ++references_; }
  void release() override {
    if (--references_ == 0) delete this;
  }
  bool get_property(int32_t number, uint32_t* value) const override;

 private:
  using binary = std::vector<uint8_t>;

  memory_message() = default;
  ~memory_message();

  template <class T>
  const T* find(const char* name) const;

  std::atomic<int32_t> references_{1};
  int32_t type_ = 0;
  std::map<std::string, std::variant<int32_t, std::string, binary>> fields_;
  std::optional<uint32_t> sender_pid_;
  const memory_process* receiver_ = nullptr;
  std::shared_ptr<pending_request> pending_;
};

}  // namespace messaging::testing
