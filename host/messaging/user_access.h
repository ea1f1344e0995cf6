#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "host/messaging/ration.h"
#include "module/platform/messaging.h"

// What the processes of ordinary users, who sit at the machine and administer nothing, may have of
// the channels. They come in by a door of their own, so that nothing they do there keeps anybody
// else from his.
namespace host::channels {

// Of one frame of theirs. What users may call takes no parameters to speak of.
inline constexpr size_t kUserHubFrameLimit = 4 * 1024;
inline constexpr size_t kUserFrameLimit = 16 * 1024;
inline constexpr size_t kUserEntries = 16;
// Bytes that may wait for a user's process, of entries, answers or events each.
inline constexpr size_t kUserWaitingLimit = 256 * 1024;

// Where users may be clients, and what they may hear there.
class UserRules {
 public:
  // Of a text like "TsrComm.RemoteAccess=1;TsrComm.Other=2,3": the channels, each with the numbers
  // of the interfaces whose events a user may subscribe to, possibly none. Nothing for another one.
  static std::optional<UserRules> Parse(std::string_view text);

  // No users at all.
  bool empty() const { return interfaces_.empty(); }
  bool Admits(std::string_view channel) const { return interfaces_.contains(channel); }
  // Whether a user may announce it: a client, or a subscription to one of those interfaces, written
  // just as the remote calls write it. So nobody reads anything else into it.
  bool Admits(const messaging::channel_subscriber& entry) const;

 private:
  std::map<std::string, std::set<std::string>, std::less<>> interfaces_;
};

// How many connections a door has for whom. One thread's at a time.
class DoorLimits {
 public:
  static constexpr int kPerProcess = 4;
  static constexpr int kPerAccount = 8;
  static constexpr int kInAll = 64;

  // False where that would be one too many, or where the account's processes come too often. Else
  // counts it until Leave.
  bool Enter(uint32_t pid, const std::wstring& account, Ration::Clock::time_point now);
  void Leave(uint32_t pid, const std::wstring& account);

 private:
  struct Account {
    int connections = 0;
    // A console comes once, and again after each start of the service.
    Ration comings{16, std::chrono::milliseconds(1000)};
  };

  int in_all_ = 0;
  std::map<uint32_t, int> processes_;
  std::map<std::wstring, Account> accounts_;
};

}  // namespace host::channels
