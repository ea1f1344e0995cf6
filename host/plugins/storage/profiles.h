#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/plugins/link/server_address.h"

namespace host {

struct IHostConfiguration;

namespace storage {

// A storage that files come from and go to: files lie below its address, and are posted to it.
struct Profile {
  enum class Credentials { kNone, kEnrolmentKey, kPassword };

  std::wstring name;
  link::ServerAddress address;  // its path does not end in "/"
  uint64_t max_size = 0;        // bytes
  Credentials credentials = Credentials::kNone;
  std::wstring secret_file;  // the key's or the password's
  std::wstring user;
  std::wstring machine_id;
};

// Options of the plug-in: "profiles", the names, separated by blanks; of each profile NAME its
// "NAME.address", http://host[:port][/path] or https://...; "NAME.maxSize", in bytes; and
// "NAME.keyFile", the file with the enrolment key, for storages of the management server, or
// "NAME.user" and "NAME.passwordFile". "machineId" stands beside the enrolment key. False, and a
// log line, where an option is missing or bad.
bool ReadProfiles(IHostConfiguration& configuration, const wchar_t* plugin,
                  std::vector<Profile>& profiles);

// Reads http://host[:port][/path] or https://...
std::optional<link::ServerAddress> ParseHttpAddress(std::wstring_view url);
std::wstring HttpAddressText(const link::ServerAddress& address);

// The header lines by which a transfer is let in, each ending in CR LF. `run_context` is the job's.
// The secret is read from its file at each call, and kept nowhere. Nothing where that fails.
std::optional<std::wstring> AccessHeaders(const Profile& profile, std::wstring_view run_context);

}  // namespace storage
}  // namespace host
