#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>

// The names that tell clients, servers and anonymous subscribers of all processes apart. Any
// thread.
namespace messaging::rpc {

inline constexpr const char* kClientPrefix = "rpc_client_";
inline constexpr const char* kServerPrefix = "rpc_server_";
inline constexpr const char* kAnonymousPrefix = "rpc_subscriber_anon_";

// `prefix` with 32 random letters behind it. `random_device` seeds them; where it throws, counter,
// process and thread id take their place and the call lasts 10 ms.
std::string make_identity(
    const char* prefix,
    const std::function<uint32_t()>& random_device = [] { return std::random_device()(); });

// The calling process's, as the operating system numbers it.
uint32_t current_process_id();

}  // namespace messaging::rpc
