#pragma once

#include <cstdint>

// What both ends of a remote call have to agree on: types, fields and numbers of the messages, and
// the properties of what is announced on a channel. Each is written once, here.
namespace messaging::rpc {

// Types of messages. Only a method call and an event that wants an answer are answered.
enum message_type : int32_t {
  kOneWayCall = 17,
  kMethodCall = 18,
  kOneWayEvent = 19,
  kAnsweredEvent = 20,
};

// Fields of messages; those of the subscriber are properties too.
inline constexpr const char* kMethodId = "rpc_method_id";
inline constexpr const char* kClientId = "rpc_client_id";
inline constexpr const char* kSerialize = "rpc_method_serialize";
inline constexpr const char* kInterfaceNumber = "rpc_interface_id";
inline constexpr const char* kSubscriberId = "rpc_subscriber_id";
inline constexpr const char* kSubscriberPid = "rpc_subscriber_pid";
inline constexpr const char* kImpersonatedPid = "rpc_impersonated_pid";
inline constexpr const char* kImpersonatedPath = "rpc_impersonated_path";
inline constexpr const char* kImpersonatedAdmin = "rpc_impersonated_admin";
inline constexpr const char* kReturnValue = "rpc_ret_val";
inline constexpr const char* kData = "data";  // A saved ParameterList; absent when empty.

// The property that tells the kinds of entries on a channel apart.
inline constexpr const char* kSubscriberType = "rpc_subscriber_type";
enum subscriber_type : int32_t {
  kEventSubscriber = 0,
  kClient = 1,
  kServer = 2,
};

// Passed to the messaging library as they stand.
inline constexpr uint32_t kReceiverOptions = 16384;
inline constexpr int32_t kGatewayOptions = 0;
inline constexpr int32_t kMessageOptions = 0;

}  // namespace messaging::rpc
