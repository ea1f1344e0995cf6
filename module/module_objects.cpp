// The objects that RemoteAccess.dll exports, in the order in which they enter the table: the one
// place that knows all their classes.

#include "module/agent/remote_access_agent.h"
#include "module/console/active_task_provider.h"
#include "module/console/history_logger.h"
#include "module/console/history_translator.h"
#include "module/console/task_provider.h"
#include "module/feature/remote_access_al.h"
#include "module/frame/base64.h"
#include "module/frame/object_declaration.h"
#include "module/rpc/comm/remote_access_comm_client_plugin.h"
#include "module/rpc/comm/remote_access_server_plugin.h"
#include "module/rpc/comm/remote_terminal_mgr_comm_client_plugin.h"
#include "module/rpc/comm/remote_terminal_mgr_server_plugin.h"
#include "module/rpc/server_factory.h"
#include "module/terminal/host/remote_terminal_manager.h"

namespace {

// The bare name of a feature is the plug-in that any process loads; a suffix tells its other
// objects.
const std::wstring kRemoteAccess = L"RemoteAccess";
const std::wstring kRemoteTerminalManager = L"RemoteTerminalManager";
const std::wstring kAgent = L".Agent";
const std::wstring kLogic = L".AL";
const std::wstring kServer = L".Server";

const ExportedObjectDeclaration<Base64ObjectImplementation> base64(L"Crypt.Base64");
const ExportedSingletonDeclaration<orn::RemoteAccess::RemoteAccessAgent> agent(
    (kRemoteAccess + kAgent).c_str());
const ExportedObjectDeclaration<orn::RemoteAccess::RemoteAccessAL> remote_access(
    (kRemoteAccess + kLogic).c_str());
const ExportedObjectDeclaration<orn::RemoteAccess::RemoteAccessCommClientPlugin>
    remote_access_client(kRemoteAccess.c_str());
const ExportedObjectDeclaration<
    messaging::rpc::server_factory<orn::RemoteAccess::RemoteAccessServerPlugin>>
    remote_access_server((kRemoteAccess + kServer).c_str());
const ExportedObjectDeclaration<orn::RemoteTerminal::RemoteTerminalMgrCommClientPlugin>
    terminal_manager_client(kRemoteTerminalManager.c_str());
const ExportedObjectDeclaration<
    messaging::rpc::server_factory<orn::RemoteTerminal::RemoteTerminalMgrServerPlugin>>
    terminal_manager_server((kRemoteTerminalManager + kServer).c_str());
const ExportedSingletonDeclaration<orn::RemoteAccess::Console::ActiveTaskProvider>
    active_task_provider(L"RemoteAccess.Console.ActiveTaskProvider");
const ExportedSingletonDeclaration<orn::RemoteAccess::Console::HistoryLogger> history_logger(
    L"RemoteAccess.Console.HistoryLogger");
const ExportedSingletonDeclaration<orn::RemoteAccess::Console::HistoryTranslator>
    history_translator(L"RemoteAccess.Console.HistoryTranslator");
const ExportedSingletonDeclaration<orn::RemoteAccess::Console::TaskProvider> task_provider(
    L"RemoteAccess.Console.TaskProvider");
const ExportedObjectDeclaration<orn::RemoteTerminal::RemoteTerminalManager> terminal_manager(
    (kRemoteTerminalManager + kLogic).c_str());

}  // namespace
