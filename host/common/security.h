#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "module/frame/windows.h"

namespace host {

// The user of this process, as the text of its security identifier; empty where it cannot be told.
std::wstring UserSid();
// As UserSid, of a token that is open for TOKEN_QUERY.
std::wstring UserOfToken(HANDLE token);

// The logon session of a token that is open for TOKEN_QUERY; an administrator who has elevated has
// another one than before. Nothing where it cannot be told. (Under Wine all have the same.)
std::optional<uint64_t> LogonOfToken(HANDLE token);

// Whether the token of a process has the Administrators group enabled, as SYSTEM's own has it. A
// group that is only there to be denied, as in the token of an administrator who has not elevated,
// does not count; nor does the user SYSTEM alone, who is still that of a process whose rights were
// taken away. `token` is open for TOKEN_QUERY and TOKEN_DUPLICATE.
bool IsAdministratorToken(HANDLE token);
// Whether that of this process has.
bool IsAdministrator();

// What objects are made with, from the system's text form:
//
//   SecurityDescriptor all(L"D:(A;;GA;;;BA)");
//   CreateEventW(all.attributes(), ...);
//
// With a text that is none, attributes() is null and the system's default holds.
class SecurityDescriptor {
 public:
  explicit SecurityDescriptor(const std::wstring& text);
  SecurityDescriptor(const SecurityDescriptor&) = delete;
  SecurityDescriptor& operator=(const SecurityDescriptor&) = delete;
  ~SecurityDescriptor() { LocalFree(attributes_.lpSecurityDescriptor); }

  // Not inheritable.
  SECURITY_ATTRIBUTES* attributes() {
    return attributes_.lpSecurityDescriptor == nullptr ? nullptr : &attributes_;
  }
  PSECURITY_DESCRIPTOR get() const { return attributes_.lpSecurityDescriptor; }
  // Null where it has none.
  PACL access_list() const;

 private:
  SECURITY_ATTRIBUTES attributes_{
      .nLength = sizeof(attributes_), .lpSecurityDescriptor = nullptr, .bInheritHandle = FALSE};
};

// Access for the system, administrators and this process's own user, which a low process of it
// has, too.
std::wstring AgentObjectAccess();

}  // namespace host
