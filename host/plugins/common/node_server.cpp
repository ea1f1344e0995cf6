#include "host/plugins/common/node_server.h"

#include <winsock2.h>

#include <string>

#include "module/frame/utf.h"

namespace host {

namespace {

bool StartNode(const char* script, int control_port) {
  std::wstring command = L"node " RA_SOURCE_DIR "/" + std::wstring(orn::ToWide(script).view()) +
                         L" " RA_SOURCE_DIR " " + std::to_wstring(control_port);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  // Wine starts programs of the machine that it runs on when they are named as files of that
  // machine.
  if (!CreateProcessW(L"\\\\?\\unix" RA_NODE, command.data(), /*lpProcessAttributes=*/nullptr,
                      /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/FALSE,
                      /*dwCreationFlags=*/0, /*lpEnvironment=*/nullptr,
                      /*lpCurrentDirectory=*/nullptr, &startup, &process)) {
    return false;
  }
  // For such a program Wine puts no handles there but whatever lay in its memory: closed, that
  // would now and then be a handle of somebody else's.
  return true;
}

}  // namespace

NodeServer::NodeServer(const char* script) : control_(INVALID_SOCKET) {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
  const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int size = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  const bool listening = bind(listener, generic, size) == 0 &&
                         getsockname(listener, generic, &size) == 0 &&
                         listen(listener, /*backlog=*/1) == 0;
  if (listening && StartNode(script, ntohs(address.sin_port)))
    control_ = accept(listener, nullptr, nullptr);
  closesocket(listener);
  char digit = 0;
  while (recv(control_, &digit, 1, 0) == 1 && digit != '\n')
    port_ = port_ * 10 + (digit - '0');
}

NodeServer::~NodeServer() {
  closesocket(control_);
}

}  // namespace host
