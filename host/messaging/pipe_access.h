#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "module/frame/handle.h"

namespace host::channels {

// Names, rights and identities of the pipes.

// Whom a pipe is for: the agent's own processes, or those of whoever is signed in at the machine.
enum class Door { kAgent, kUsers };

// The pipe of the hub of this agent. Agents of one machine are told apart by ORN_TSR_INSTANCE.
std::wstring HubPipeName(Door door = Door::kAgent);
// The pipe of a process; the suffix is 32 hexadecimal digits that nobody can guess.
std::wstring NodePipeName(uint32_t pid, const std::string& suffix);
std::string RandomSuffix();
uint64_t RandomNumber();

// Whom this process's pipes, of either door, admit beside SYSTEM, the administrators and its own
// account: a SID's text, empty for none. For pipes that are made later. False for what is no SID.
bool AdmitAccount(const std::wstring& sid);

// One more end of the pipe `name` for a client to connect to, overlapped. That of the users' door
// admits everybody who is signed in at the machine, at its own screen or a remote one, too. Only
// the first makes the name; it fails where the name is somebody's already. Invalid on failure, see
// GetLastError.
orn::UniqueFile CreatePipeEnd(const std::wstring& name, Door door, bool first);

// The other end. Waits a little while all ends are taken, if it is `patient`. The server gets to
// know who this is, and cannot act for it. Invalid on failure, see GetLastError.
orn::UniqueFile OpenPipe(const std::wstring& name, bool patient = true);

// The process at the other end as the operating system knows it; 0 where it does not.
uint32_t ClientOf(HANDLE pipe);
uint32_t ServerOf(HANDLE pipe);

// The logon session of who connected, whoever has the connection now, once something has been read
// from it. Nothing where it cannot be told.
std::optional<uint64_t> LogonOfClient(HANDLE pipe);

// The system's time now.
uint64_t SystemTime();
// Whether the process with that id has the administrators' rights, as the system itself has. False
// for one that began after `connected`, when another one had the id.
bool IsAdministratorProcess(uint32_t pid, uint64_t connected);
// Whether who made the pipe may introduce others, so that no impostor who was first with the name
// can. Administrators may; their pipes are the Administrators group's, also where the process is
// the system's, and a process of the system's that has given up its rights is no hub. To somebody
// else his own processes may, too: they could as well be told anything by him.
bool IsTrustworthyOwner(HANDLE pipe);

}  // namespace host::channels
