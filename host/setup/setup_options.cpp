#include "host/setup/setup_options.h"

#include <shlwapi.h>
#include <wchar.h>

#include <algorithm>

#include "host/common/file_path.h"
#include "host/plugins/link/server_address.h"

namespace host::setup {
namespace {

constexpr size_t kLongestName = 255;
constexpr size_t kLongestFolder = 120;  // What lies in it must stay below MAX_PATH.

struct TextOption {
  const wchar_t* name;
  std::wstring SetupOptions::* value;
};
constexpr TextOption kTextOptions[] = {
    {L"/server", &SetupOptions::server}, {L"/key-file", &SetupOptions::key_file},
    {L"/name", &SetupOptions::name},     {L"/data", &SetupOptions::data},
    {L"/target", &SetupOptions::target},
};

bool Is(const wchar_t* argument, const wchar_t* name) {
  return _wcsicmp(argument, name) == 0;
}

bool IsHelp(const wchar_t* argument) {
  return Is(argument, L"/help") || Is(argument, L"/?") || Is(argument, L"--help") ||
         Is(argument, L"-h") || Is(argument, L"help");
}

// The enrolment key goes over this connection, so only this machine itself is reached without TLS.
bool ReadServer(std::wstring& server, std::wstring& problem) {
  const auto scheme = [&](std::wstring_view name) {
    return server.size() > name.size() && _wcsnicmp(server.c_str(), name.data(), name.size()) == 0;
  };
  const bool secure = scheme(L"https://");
  if (!secure && !scheme(L"http://")) {
    problem = L"/server takes https://HOST[:PORT]";
    return false;
  }
  const std::wstring rest = server.substr(server.find(L"//"));
  const auto address = link::ParseServerAddress((secure ? L"wss:" : L"ws:") + rest, L"/");
  const bool plain = rest.find_first_of(L" \t\"<>\\?#") == std::wstring::npos;
  if (!address || address->path != L"/" || !plain) {
    problem = L"/server takes https://HOST[:PORT], without a path, a user or a query";
    return false;
  }
  if (!secure && !address->IsLoopback()) {
    problem = L"/server must begin with https://: only this machine itself is reached by http://";
    return false;
  }
  server = (secure ? L"https:" : L"http:") + rest;
  if (server.ends_with(L'/')) server.pop_back();
  return true;
}

// A full path on a drive of this machine, not the drive's root.
bool ReadFolder(const wchar_t* option, std::wstring& folder, std::wstring& problem) {
  // "%" would mean something to the command line by which the last files are removed.
  if (folder.find_first_of(L"<>\"|?*%") == std::wstring::npos) {
    folder = AbsolutePath(FolderOf(AbsolutePath(L".", L"x")), folder);
    while (folder.ends_with(L'\\'))
      folder.pop_back();
    if (folder.size() > 3 && folder.size() <= kLongestFolder && folder[1] == L':') return true;
  }
  problem = std::wstring(option) + L" takes a folder on a drive of this machine, of at most " +
            std::to_wstring(kLongestFolder) + L" characters";
  return false;
}

bool CheckValues(SetupOptions& options, std::wstring& problem) {
  if (!options.server.empty() && !ReadServer(options.server, problem)) return false;
  if (!options.key_file.empty()) {
    options.key_file = AbsolutePath(FolderOf(AbsolutePath(L".", L"x")), options.key_file);
  }
  if (options.name.size() > kLongestName ||
      std::ranges::any_of(options.name, [](wchar_t c) { return c < L' '; })) {
    problem = L"/name takes a text of at most 255 characters";
    return false;
  }
  return (options.data.empty() || ReadFolder(L"/data", options.data, problem)) &&
         (options.target.empty() || ReadFolder(L"/target", options.target, problem));
}

}  // namespace

const wchar_t* const kUsage =
    L"TsrSetup installs, upgrades and removes the RemoteAccess agent. It needs an administrator.\n"
    L"\n"
    L"usage: TsrSetup install /server URL /key-file FILE [/name NAME] [/feature on|off]\n"
    L"                        [/data DIR] [/target DIR] [/no-start]\n"
    L"       TsrSetup uninstall [/keep-data] [/elevate]\n"
    L"       TsrSetup /help\n"
    L"\n"
    L"install, also over an installed version, whose values hold for what is not given:\n"
    L"  /server URL       the management server, https://HOST[:PORT]\n"
    L"  /key-file FILE    the file with the enrolment key; a copy is kept that only\n"
    L"                    administrators can read\n"
    L"  /name NAME        the machine's name on the server (the computer's name)\n"
    L"  /feature on|off   the switch of the feature (off until somebody switches it on)\n"
    L"  /data DIR         configuration, history and logs (%ProgramData%\\Tessaro)\n"
    L"  /target DIR       the programs (%ProgramFiles%\\Tessaro)\n"
    L"  /no-start         does not start the service\n"
    L"\n"
    L"uninstall stops and removes everything:\n"
    L"  /keep-data        leaves the folder of configuration, history and logs\n"
    L"  /elevate          asks for an administrator's rights in a window of Windows\n"
    L"\n"
    L"exit codes:\n"
    L"  0  done\n"
    L"  1  failed; everything is as it was before\n"
    L"  2  wrong arguments, no key in the key file, or a folder that is not empty\n"
    L"  3  nothing is installed that could be removed\n"
    L"  4  another set-up is at work\n"
    L"  5  not an administrator\n"
    L"  6  a file of the package is missing or damaged\n"
    L"  7  a newer version is installed\n"
    L"  8  failed, and not everything is as it was before\n"
    L"  9  not everything could be removed; what is left is named\n"
    L"\n"
    L"Each step is told here and written to a file TsrSetup-*.log in %TEMP%.";

bool ParseOptions(int count, const wchar_t* const* arguments, SetupOptions& options,
                  std::wstring& problem) {
  options = {};
  for (int i = 1; i < count; ++i) {
    if (IsHelp(arguments[i])) return true;
  }
  if (count < 2) {
    problem = L"What is to be done: install or uninstall?";
    return false;
  }
  const bool install = Is(arguments[1], L"install");
  if (!install && !Is(arguments[1], L"uninstall")) {
    problem = std::wstring(arguments[1]) + L" is neither install nor uninstall";
    return false;
  }
  for (int i = 2; i < count; ++i) {
    const auto named = std::ranges::find_if(
        kTextOptions, [&](const TextOption& option) { return Is(arguments[i], option.name); });
    const bool feature = Is(arguments[i], L"/feature");
    if (install && (named != std::end(kTextOptions) || feature)) {
      if (++i == count || *arguments[i] == 0) {
        problem = std::wstring(arguments[i - 1]) + L" needs a value";
        return false;
      }
      if (!feature) {
        options.*named->value = arguments[i];
      } else if (Is(arguments[i], L"on") || Is(arguments[i], L"off")) {
        options.feature = Is(arguments[i], L"on");
      } else {
        problem = L"/feature takes on or off";
        return false;
      }
    } else if (install && Is(arguments[i], L"/no-start")) {
      options.start = false;
    } else if (!install && Is(arguments[i], L"/keep-data")) {
      options.keep_data = true;
    } else if (!install && Is(arguments[i], L"/elevate")) {
      options.elevate = true;
    } else {
      problem = std::wstring(arguments[i]) + L" is not known";
      return false;
    }
  }
  if (!CheckValues(options, problem)) return false;
  options.verb = install ? SetupOptions::Verb::kInstall : SetupOptions::Verb::kUninstall;
  return true;
}

}  // namespace host::setup
