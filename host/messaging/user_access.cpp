#include "host/messaging/user_access.h"

#include <algorithm>

namespace host::channels {

namespace {

constexpr size_t kLongestNumber = 9;  // Digits.

// The next part of `rest`, which it is taken from.
std::string_view Next(std::string_view& rest, char separator) {
  const size_t end = std::min(rest.find(separator), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

// As the remote calls write it: without a sign, blanks or leading zeros.
bool IsNumber(std::string_view text) {
  return !text.empty() && text.size() <= kLongestNumber && (text.size() == 1 || text[0] != '0') &&
         std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::optional<UserRules> UserRules::Parse(std::string_view text) {
  UserRules rules;
  while (!text.empty()) {
    std::string_view numbers = Next(text, ';');
    const std::string_view channel = Next(numbers, '=');
    if (channel.empty()) return std::nullopt;
    std::set<std::string>& interfaces = rules.interfaces_[std::string(channel)];
    while (!numbers.empty()) {
      const std::string_view number = Next(numbers, ',');
      if (!IsNumber(number)) return std::nullopt;
      interfaces.emplace(number);
    }
  }
  return rules;
}

bool UserRules::Admits(const messaging::channel_subscriber& entry) const {
  const auto channel = interfaces_.find(entry.channel);
  if (channel == interfaces_.end()) return false;
  std::string_view type;
  std::string_view number;
  for (const auto& [name, value] : entry.properties) {
    if (name == "rpc_subscriber_type") {
      type = value;
    } else if (name == "rpc_interface_id") {
      number = value;
    } else if (name != "rpc_client_id" && name != "rpc_subscriber_id") {
      return false;
    }
  }
  return type == "1" ? number.empty()
                     : type == "0" && channel->second.contains(std::string(number));
}

bool DoorLimits::Enter(uint32_t pid, const std::wstring& account, Ration::Clock::time_point now) {
  // Who is not here and has not been of late is not remembered.
  std::erase_if(accounts_, [&](const auto& item) {
    return item.second.connections == 0 && item.second.comings.IsFull(now);
  });
  Account& known = accounts_[account];
  const auto process = processes_.find(pid);
  if (in_all_ >= kInAll || known.connections >= kPerAccount ||
      (process != processes_.end() && process->second >= kPerProcess) || !known.comings.Try(now)) {
    return false;
  }
  ++in_all_;
  ++known.connections;
  ++processes_[pid];
  return true;
}

void DoorLimits::Leave(uint32_t pid, const std::wstring& account) {
  --in_all_;
  --accounts_[account].connections;
  const auto process = processes_.find(pid);
  if (--process->second == 0) processes_.erase(process);
}

}  // namespace host::channels
