#include "host/service/low_rights.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

#include "host/common/file_path.h"
#include "host/common/host_presence.h"
#include "host/common/security.h"
#include "host/service/child_start.h"
#include "host/service/data_folder.h"
#include "host/service/report.h"
#include "host/service/stop_signal.h"

namespace host {
namespace {

constexpr DWORD kHyperVAdministrators = 578;

// Groups of the machine and of its domain that grant what an administrator may, or a way there.
constexpr DWORD kMachineGroups[] = {
    DOMAIN_ALIAS_RID_ADMINS,      DOMAIN_ALIAS_RID_POWER_USERS,
    DOMAIN_ALIAS_RID_ACCOUNT_OPS, DOMAIN_ALIAS_RID_SYSTEM_OPS,
    DOMAIN_ALIAS_RID_PRINT_OPS,   DOMAIN_ALIAS_RID_BACKUP_OPS,
    DOMAIN_ALIAS_RID_REPLICATOR,  DOMAIN_ALIAS_RID_NETWORK_CONFIGURATION_OPS,
    kHyperVAdministrators,
};
constexpr DWORD kDomainGroups[] = {
    DOMAIN_GROUP_RID_ADMINS,
    DOMAIN_GROUP_RID_SCHEMA_ADMINS,
    DOMAIN_GROUP_RID_ENTERPRISE_ADMINS,
    DOMAIN_GROUP_RID_POLICY_ADMINS,
};

bool IsAdministrative(PSID sid) {
  const auto contains = [](const auto& rids, DWORD rid) {
    return std::ranges::find(rids, rid) != std::end(rids);
  };
  const SID_IDENTIFIER_AUTHORITY nt = SECURITY_NT_AUTHORITY;
  if (!std::ranges::equal(GetSidIdentifierAuthority(sid)->Value, nt.Value)) return false;
  const DWORD count = *GetSidSubAuthorityCount(sid);
  if (count < 2) return false;
  const DWORD first = *GetSidSubAuthority(sid, 0);
  const DWORD last = *GetSidSubAuthority(sid, count - 1);
  return (first == SECURITY_BUILTIN_DOMAIN_RID && contains(kMachineGroups, last)) ||
         (first == SECURITY_NT_NON_UNIQUE && contains(kDomainGroups, last));
}

// A variable-sized piece of a token's information, as a `Type`.
template <class Type>
class TokenPart {
 public:
  TokenPart(HANDLE token, TOKEN_INFORMATION_CLASS part) {
    DWORD length = 0;
    GetTokenInformation(token, part, nullptr, 0, &length);
    memory_.resize(std::max<size_t>(length, sizeof(Type)));
    good_ = GetTokenInformation(token, part, memory_.data(), static_cast<DWORD>(memory_.size()),
                                &length) != FALSE;
  }
  explicit operator bool() const { return good_; }
  Type* operator->() { return reinterpret_cast<Type*>(memory_.data()); }

 private:
  std::vector<std::byte> memory_;
  bool good_ = false;
};

bool IsChangeNotify(const LUID& privilege) {
  LUID change_notify{};
  return LookupPrivilegeValueW(nullptr, SE_CHANGE_NOTIFY_NAME, &change_notify) &&
         privilege.LowPart == change_notify.LowPart && privilege.HighPart == change_notify.HighPart;
}

// What is made under the low token, and the process itself, belongs to the user, and medium
// integrity keeps it from processes of the same user that have full rights.
bool SetDefaults(HANDLE token) {
  TokenPart<TOKEN_USER> user(token, TokenUser);
  const SecurityDescriptor access(AgentObjectAccess());
  TOKEN_DEFAULT_DACL list = {.DefaultDacl = access.access_list()};
  if (!user || list.DefaultDacl == nullptr ||
      !SetTokenInformation(token, TokenDefaultDacl, &list, sizeof(list))) {
    return false;
  }
  // Windows takes an owner that is for refusals only for the user anyhow; Wine has no such call.
  TOKEN_OWNER owner = {.Owner = user->User.Sid};
  SetTokenInformation(token, TokenOwner, &owner, sizeof(owner));

  std::array<std::byte, SECURITY_MAX_SID_SIZE> medium;
  DWORD length = medium.size();
  TOKEN_MANDATORY_LABEL label = {.Label = {.Sid = medium.data(), .Attributes = SE_GROUP_INTEGRITY}};
  return CreateWellKnownSid(WinMediumLabelSid, /*domain=*/nullptr, medium.data(), &length) &&
         SetTokenInformation(token, TokenIntegrityLevel, &label, sizeof(label) + length);
}

}  // namespace

uint32_t MakeLowToken(orn::UniqueHandle& token) {
  orn::UniqueHandle own;
  if (!OpenProcessToken(GetCurrentProcess(),
                        TOKEN_DUPLICATE | TOKEN_QUERY | TOKEN_ASSIGN_PRIMARY | TOKEN_ADJUST_DEFAULT,
                        own.put())) {
    return GetLastError();
  }
  TokenPart<TOKEN_GROUPS> groups(own.get(), TokenGroups);
  TokenPart<TOKEN_PRIVILEGES> privileges(own.get(), TokenPrivileges);
  if (!groups || !privileges) return GetLastError();
  std::vector<SID_AND_ATTRIBUTES> refused;
  for (const SID_AND_ATTRIBUTES& group : std::span(groups->Groups, groups->GroupCount)) {
    if (IsAdministrative(group.Sid)) refused.push_back({.Sid = group.Sid, .Attributes = 0});
  }
  // Each by name: the flag for "all but that one" has no effect under Wine.
  std::vector<LUID_AND_ATTRIBUTES> removed;
  for (const auto& privilege : std::span(privileges->Privileges, privileges->PrivilegeCount)) {
    if (!IsChangeNotify(privilege.Luid)) removed.push_back(privilege);
  }
  if (!CreateRestrictedToken(own.get(), DISABLE_MAX_PRIVILEGE, static_cast<DWORD>(refused.size()),
                             refused.data(), static_cast<DWORD>(removed.size()), removed.data(),
                             /*restrictCount=*/0, /*restrict=*/nullptr, token.put())) {
    return GetLastError();
  }
  return SetDefaults(token.get()) ? 0 : GetLastError();
}

bool HasLowRights() {
  orn::UniqueHandle own;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, own.put())) return false;
  TokenPart<TOKEN_GROUPS> groups(own.get(), TokenGroups);
  TokenPart<TOKEN_PRIVILEGES> privileges(own.get(), TokenPrivileges);
  if (!groups || !privileges) return false;
  return std::ranges::none_of(std::span(groups->Groups, groups->GroupCount),
                              [](const SID_AND_ATTRIBUTES& group) {
                                return (group.Attributes & SE_GROUP_ENABLED) != 0 &&
                                       IsAdministrative(group.Sid);
                              }) &&
         std::ranges::all_of(std::span(privileges->Privileges, privileges->PrivilegeCount),
                             IsChangeNotify, &LUID_AND_ATTRIBUTES::Luid);
}

int RunWithLowRights(const Configuration& configuration) {
  const auto fail = [&](const wchar_t* what, uint32_t code) {
    ReportError(configuration.file + L": " + what + L": " + DescribeCode(code));
    return 1;
  };
  if (const uint32_t status = PrepareDataFolder(configuration); status != 0) {
    return fail((L"the data folder \"" + configuration.data + L"\" cannot be used").c_str(),
                status);
  }
  orn::UniqueHandle token;
  if (const uint32_t status = MakeLowToken(token); status != 0) {
    return fail(L"rights cannot be taken away", status);
  }
  const orn::UniqueHandle job = CreateKillOnCloseJob();
  if (!job) return fail(L"no job object", GetLastError());
  orn::UniqueHandle process;
  const std::wstring command_line =
      L"\"" + ProgramPath() + L"\" /process /restricted /config \"" + configuration.file + L"\"";
  const uint32_t status =
      StartChild({.command_line = command_line, .job = job.get(), .token = token.get()}, process);
  if (status != 0) return fail(L"the process of low rights cannot be started", status);

  const HANDLE objects[] = {process.get(), StopSignal()};
  if (WaitForMultipleObjects(2, objects, /*waitAll=*/FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
    HostPresence presence;
    bool running = false;
    if (presence.Open(configuration.name) == 0) presence.RequestStop(running);
    // It is still being started, and knows of no stop yet.
    if (!running) return 1;
    WaitForSingleObject(process.get(), INFINITE);
  }
  DWORD exit_code = 1;
  GetExitCodeProcess(process.get(), &exit_code);
  return static_cast<int>(exit_code);
}

}  // namespace host
