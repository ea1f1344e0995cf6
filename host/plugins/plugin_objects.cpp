// The objects that AgentPlugins.dll exports: the one place that knows all of its classes.

#include "host/plugins/connector/veld_connector.h"
#include "host/plugins/feature_relay/remote_access_relay.h"
#include "host/plugins/framework_manager/framework_manager.h"
#include "host/plugins/history/history_logger.h"
#include "host/plugins/integration/endpoint_integration_manager.h"
#include "host/plugins/persistent_handlers/persistent_handlers.h"
#include "host/plugins/process_info/process_info_db.h"
#include "host/plugins/settings/tsr_settings.h"
#include "host/plugins/storage/centralized_storage_plugin.h"
#include "host/plugins/telemetry/product_matrix.h"
#include "host/plugins/terminal_relay/terminal_manager_relay.h"
#include "module/frame/object_declaration.h"

namespace {

ExportedObjectDeclaration<host::TsrSettings> settings{L"TsrSettings"};
ExportedObjectDeclaration<host::VeldConnectorPlugin> connector{L"VeldConnector"};
ExportedObjectDeclaration<host::ProductMatrix> telemetry{L"Product.Matrix"};
ExportedObjectDeclaration<host::EndpointIntegrationManager> integration{
    L"EndpointIntegration.Manager"};
ExportedObjectDeclaration<host::CentralizedStoragePlugin> storage{L"Product.CentralizedStorage"};
ExportedObjectDeclaration<host::RemoteAccessRelay> feature_relay{L"RemoteAccess.Relay"};
ExportedObjectDeclaration<host::FrameworkManager> framework{L"Framework.Manager"};
ExportedObjectDeclaration<host::ProcessInfoDb> processes{L"messaging.process_info_db"};
ExportedObjectDeclaration<host::PersistentHandlers> signals{L"Product.PersistentHandlers"};
ExportedObjectDeclaration<host::TerminalManagerRelay> relay{L"RemoteTerminalManager.Relay"};
ExportedObjectDeclaration<host::HistoryLogger> history{L"History.Logger"};

}  // namespace
