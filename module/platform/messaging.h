#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

#include "module/frame/interface_id.h"

// The messaging library, "messaging_tsr.dll": named channels between the agent's processes. The
// order of the operations is binary contract. Names and texts are UTF-8. Any thread may call, but
// for what is said of observers and callbacks; neither of them may destroy a gateway. The library
// stays loaded once it has made a gateway.
//
// What travels, by the type of the message: 17 and 18 go to the processes that have announced a
// server on the channel (an entry with the property "rpc_subscriber_type" "2"), 19 and 20 to the
// process that the integer "rpc_subscriber_pid" names, and there they are taken only from a process
// with a server on that channel. Nothing else goes anywhere. The sender's own gateway gets nothing
// of its own; other gateways of its process do, on the sender's thread.
namespace messaging {

// A flat bag of named, typed fields.
struct message {
  enum field_type : int32_t { kInt = 1, kString = 2, kBinary = 4 };
  // The process id of the sender, as the operating system knows it; 0 is the receiver's own.
  static constexpr int32_t kSenderProcess = 2;

  virtual int32_t get_type() const = 0;
  virtual void set_type(int32_t type) = 0;
  // 0 where there is no such field of that type.
  virtual int32_t get_int(const char* name) const = 0;
  virtual void set_int(const char* name, int32_t value) = 0;
  // Null where there is none. Valid until the field is set again or the message is gone.
  virtual const char* get_string(const char* name) const = 0;
  virtual void set_string(const char* name, const char* value) = 0;
  // As get_string; the size in bytes goes to `*size`. An empty block is not null.
  virtual const void* get_binary(const char* name, uint32_t* size) const = 0;
  virtual void set_binary(const char* name, const void* data, uint32_t size) = 0;
  // True for a field of that name and that type only.
  virtual bool has_field(const char* name, int32_t type) const = 0;
  // Answers this received message; without effect where nobody waits, and the second time. The
  // answer stays the caller's. Never blocks. A received message whose last reference goes without
  // an answer tells the sender so.
  virtual void reply(message* answer) = 0;
  virtual void add_ref() = 0;
  virtual void release() = 0;
  // False where the message has no such property.
  virtual bool get_property(int32_t number, uint32_t* value) const = 0;

 protected:
  ~message() = default;
};

// What a process announces on a channel. Identified by channel and id.
struct channel_subscriber {
  int32_t pid = 0;  // Observers get the announcing process's own, whatever it left here.
  std::string channel;
  std::string id;
  std::map<std::string, std::string> properties;
};

// Told of the entries on the gateway's channel. Calls come one at a time and in order, from a
// thread of the gateway that no reply and no other gateway waits for, so an observer may wait for a
// lock that is held during a call to another process. While the agent has no hub, no process hears
// of another: entries of others are removed with the hub and come again with the next one.
struct channel_observer {
  virtual void on_new_subscriber(const std::string& channel, const channel_subscriber& entry) = 0;
  virtual void on_subscriber_removed(const std::string& channel,
                                     const channel_subscriber& entry) = 0;

 protected:
  ~channel_observer() = default;
};

struct receiver {
  // Called for each message that arrives, on threads of the library or of a sender in this process,
  // several at once; those of one sender's thread in their order. The message is the library's,
  // add_ref keeps it. While a process keeps 512 messages of another one, or 32 MiB, no more are
  // read from that one.
  using callback = void (*)(message* received, void* user);
  virtual void set_callback(callback function, void* user, uint32_t options) = 0;

 protected:
  ~receiver() = default;
};

// Stays callable after its gateway was destroyed, and then fails.
struct channel {
  static constexpr uint32_t kMilliseconds = 0x80000000;  // Bit 31 of a time-out.

  // Sends to all whom it concerns, without waiting for any. Returns 0; 2250 where there is nobody
  // or a connection is lost; 170 where a receiver is more than 16 MiB behind, which then does not
  // get it; 223 for more than 64 MiB.
  virtual uint32_t post(message* sent) = 0;
  // Sends and waits for the first answer, at most `timeout`: a count of milliseconds with bit 31
  // set. `*answer` is null when none came, else the caller's reference. Returns 0 with an answer;
  // 1460 at the time-out; 2250 as soon as nobody is left who could answer (each has let go of the
  // request or died) or the gateway is destroyed; 170 and 223 as post.
  virtual uint32_t send(message* sent, message** answer, uint32_t timeout) = 0;
  virtual receiver* get_receiver() = 0;
  // When this has returned, the callback is called no more; the channel still sends, and takes
  // answers.
  virtual void close_receiver(receiver* closed) = 0;

 protected:
  ~channel() = default;
};

// Stays callable after its gateway was destroyed.
struct channel_factory {
  // A new message, the caller's reference. Never null.
  virtual message* create_message(int32_t options) = 0;
  // The channel of that name; the same object each time. Not owned by the caller.
  virtual channel* open_channel(const char* name) = 0;

 protected:
  ~channel_factory() = default;
};

struct channel_gateway {
  // The observer hears of every entry that is on the channel already, then of each change, its own
  // process's entries included; also anew when the far end restarts.
  virtual void add_observer(channel_observer* observer) = 0;
  // When this has returned, the observer is called no more; but for an observer that removes
  // itself, or another of the same gateway, in its notification.
  virtual void remove_observer(channel_observer* observer) = 0;
  // An entry that is there already is removed first. The others learn of a server only if this
  // process is an administrator's, or the hub allows it on that channel. Entries end with the
  // process, however it ends.
  virtual void add_subscriber(const channel_subscriber& entry) = 0;
  // By channel and id.
  virtual void remove_subscriber(const channel_subscriber& entry) = 0;
  virtual channel_factory* get_factory() = 0;

 protected:
  ~channel_gateway() = default;
};

struct gateway_settings {
  std::string channel;
  int32_t options = 0;
  std::variant<int32_t, std::string> setting = 1;
};

struct channel_gateway_factory {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{17E80000-271D-4A62-755E-0B4FCBCDFA99}");
  static constexpr const wchar_t* kTypeName = L"messaging::channel_gateway_factory";

  // Null where there is no gateway to be had.
  virtual channel_gateway* create(const gateway_settings& settings) = 0;
  // Takes the gateway's entries back. Callbacks and observers are called no more.
  virtual void destroy(channel_gateway* gateway) = 0;

 protected:
  ~channel_gateway_factory() = default;
};

// The display name in the host, and the object's name in "messaging_tsr.dll".
inline constexpr const wchar_t* kChannelGateway = L"messaging.channel_gateway";

}  // namespace messaging
