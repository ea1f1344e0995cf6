#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/console/console_state.h"

namespace host::console {

enum class Connection { kNobody, kConnected, kNoService };

// Who is connected at one moment.
struct View {
  Connection connection = Connection::kNobody;
  std::vector<OpenSession> sessions;
  std::vector<int64_t> starts;  // In seconds since 1970; those that are known.
};

View ReadView(IConsoleState& state);

// The two lines of the banner, in the language of the console.
struct Banner {
  std::wstring headline;
  std::wstring details;
};

Banner DescribeView(IConsoleState& state, const View& view);

// A notice for the person at the machine. Without a headline there is none.
struct Notice {
  std::wstring headline;
  std::wstring details;
};

// What is to be said when `before` has become `now`: a session that began goes before one that
// ended. Sessions are told apart by their ids.
Notice DescribeChange(IConsoleState& state, const View& before, const View& now);

}  // namespace host::console
