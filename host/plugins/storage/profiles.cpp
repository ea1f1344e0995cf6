#include "host/plugins/storage/profiles.h"

#include <algorithm>
#include <sstream>

#include "host/common/host_configuration.h"
#include "host/plugins/link/key_file.h"
#include "host/plugins/link/link_options.h"
#include "module/frame/base64.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"

namespace host::storage {

namespace {

constexpr size_t kLongestRunContext = 4096;

class Options {
 public:
  Options(IHostConfiguration& configuration, const wchar_t* plugin)
      : configuration_(configuration), plugin_(plugin) {}

  std::wstring Get(const std::wstring& option) const {
    const wchar_t* const value = configuration_.GetOption(plugin_, option.c_str());
    return value == nullptr ? L"" : value;
  }
  std::wstring GetPath(const std::wstring& option) const {
    const std::wstring path = Get(option);
    return path.empty() ? path : configuration_.ResolvePath(path.c_str());
  }
  // Without the value: an address may hold a password that does not belong there.
  bool Bad(const std::wstring& option) const {
    ORN_LOG(logging::kError, (std::wstring(plugin_) + L"::Init").c_str(), L"Bad option \"%s\"",
            option.c_str());
    return false;
  }

 private:
  IHostConfiguration& configuration_;
  const wchar_t* const plugin_;
};

bool ParseSize(const std::wstring& text, uint64_t& size) {
  if (text.empty() || text.size() > 18) return false;
  size = 0;
  for (const wchar_t digit : text) {
    if (digit < L'0' || digit > L'9') return false;
    size = size * 10 + (digit - L'0');
  }
  return size != 0;
}

bool ReadProfile(const Options& options, Profile& profile) {
  const auto name = [&](const wchar_t* option) { return profile.name + L'.' + option; };
  const auto address = ParseHttpAddress(options.Get(name(L"address")));
  if (!address || address->path.find_first_of(L"?#") != std::wstring::npos) {
    return options.Bad(name(L"address"));
  }
  profile.address = *address;
  while (profile.address.path.ends_with(L'/'))
    profile.address.path.pop_back();
  if (!ParseSize(options.Get(name(L"maxSize")), profile.max_size)) {
    return options.Bad(name(L"maxSize"));
  }
  profile.secret_file = options.GetPath(name(L"keyFile"));
  if (!profile.secret_file.empty()) {
    profile.credentials = Profile::Credentials::kEnrolmentKey;
    return true;
  }
  profile.user = options.Get(name(L"user"));
  if (profile.user.empty()) return true;
  profile.credentials = Profile::Credentials::kPassword;
  profile.secret_file = options.GetPath(name(L"passwordFile"));
  if (profile.user.find(L':') != std::wstring::npos) return options.Bad(name(L"user"));
  return !profile.secret_file.empty() || options.Bad(name(L"passwordFile"));
}

std::wstring EncodeBase64(std::string_view bytes) {
  std::string text;
  Base64ObjectImplementation().Encode(bytes.data(), bytes.size(), text, /*pad=*/true);
  return std::wstring(text.begin(), text.end());
}

}  // namespace

bool ReadProfiles(IHostConfiguration& configuration, const wchar_t* plugin,
                  std::vector<Profile>& profiles) {
  const Options options(configuration, plugin);
  std::wistringstream names(options.Get(L"profiles"));
  Profile profile;
  while (names >> profile.name) {
    const bool is_known =
        std::ranges::any_of(profiles, [&](const Profile& p) { return p.name == profile.name; });
    if (is_known) return options.Bad(L"profiles");
    if (!ReadProfile(options, profile)) return false;
    link::MachineIdentity machine;
    if (profile.credentials == Profile::Credentials::kEnrolmentKey) {
      if (!link::ReadMachineIdentity(configuration, plugin, machine)) return false;
      profile.machine_id = machine.id;
    }
    profiles.push_back(profile);
    profile = {};
  }
  return true;
}

std::optional<link::ServerAddress> ParseHttpAddress(std::wstring_view url) {
  if (!url.starts_with(L"http://") && !url.starts_with(L"https://")) return std::nullopt;
  return link::ParseServerAddress(L"ws" + std::wstring(url.substr(4)), /*door=*/L"/");
}

std::wstring HttpAddressText(const link::ServerAddress& address) {
  return (address.secure ? L"https://" : L"http://") + address.host + L':' +
         std::to_wstring(address.port) + address.path;
}

std::optional<std::wstring> AccessHeaders(const Profile& profile, std::wstring_view run_context) {
  if (profile.credentials == Profile::Credentials::kNone) return std::wstring();
  const std::optional<std::wstring> secret = link::ReadKeyFile(profile.secret_file);
  if (!secret) return std::nullopt;
  if (profile.credentials == Profile::Credentials::kPassword) {
    const orn::StringT<char> pair = orn::ToUtf8(profile.user + L':' + *secret);
    return L"Authorization: Basic " + EncodeBase64(pair.view()) + L"\r\n";
  }
  std::wstring headers =
      L"Authorization: Bearer " + *secret + L"\r\nX-Machine-Id: " + profile.machine_id + L"\r\n";
  const orn::StringT<char> context = orn::ToUtf8(run_context);
  if (!context.empty() && context.length() <= kLongestRunContext) {
    headers += L"X-Run-Context: " + EncodeBase64(context.view()) + L"\r\n";
  }
  return headers;
}

}  // namespace host::storage
