#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/plugins/link/server_address.h"

namespace host::storage {

inline constexpr int kMostRedirects = 5;

bool IsRedirect(int32_t status);
// One that leaves a POST a POST.
bool IsRedirectOfAnyMethod(int32_t status);

// Where a redirect leads. Nothing where that is another server than the one that sent it, to which
// neither credentials nor files may go, or where it cannot be read.
std::optional<link::ServerAddress> FollowRedirect(const link::ServerAddress& from,
                                                  const std::wstring& location);

}  // namespace host::storage
