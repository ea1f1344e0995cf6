#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "host/common/languages.h"
#include "host/common/sync.h"
#include "host/console/connection.h"
#include "host/console/console_state.h"
#include "host/console/history_view.h"
#include "host/console/main_window_manager.h"
#include "host/console/plain_english.h"
#include "host/console/providers.h"
#include "host/console/tasks_manager.h"
#include "host/history/history_words.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/history_translator.h"
#include "module/rpc/client_handler.h"

namespace host::console {

struct ConsoleOptions {
  std::wstring history;   // The file.
  std::wstring language;  // For this run; empty for the user's choice.
};

// What there is to be seen, put together from the agent's plug-ins, the module's ones for the
// console and the file of the history.
class ConsoleState final : public IConsoleState, public Connection::IWork {
 public:
  explicit ConsoleState(ConsoleOptions options);
  ConsoleState(const ConsoleState&) = delete;
  ConsoleState& operator=(const ConsoleState&) = delete;
  virtual ~ConsoleState() { Stop(); }

  // The plug-ins "Console.Tasks.Manager" and "Console.MainWindow", and one to stand in where there
  // is no "LanguageManager": it knows no translations.
  TasksManager& tasks() { return tasks_; }
  MainWindowManager& main_window() { return main_window_; }
  PlainEnglish& plain_english() { return plain_english_; }

  // Begins with the host's plug-ins "RemoteAccess" and "LanguageManager", and `translators`, which
  // put records into words. None is owned. 0, or 5002 where one of the first two is missing.
  uint32_t Start(IServMain& main, IProviders& providers,
                 std::vector<History::IHistoryTranslator*> translators);
  // From here on there is no service. Stopping twice has no effect.
  void Stop();

  void SetListener(IListener* listener) override;
  bool IsServiceThere() override;
  std::vector<OpenSession> GetSessions() override;
  std::vector<int64_t> GetSessionStarts() override;
  size_t GetHistorySize() override { return history_.GetSize(); }
  std::vector<HistoryLine> ReadHistory(size_t first, size_t count) override;
  std::wstring Translate(const wchar_t* english) override;
  std::vector<Language> GetLanguages() override;
  std::wstring GetLanguage() override;
  void SetLanguage(const std::wstring& code) override;

 private:
  bool Begin() override;
  void End() override;
  void Check() override;

  void Changed();
  void OnTasksAsked();
  // The list of the banner and the tasks tell of the same sessions.
  bool IsBannerRight();
  void UseLanguage(const std::wstring& code);
  HistoryLine MakeLine(const history::HistoryRecord& record);

  const ConsoleOptions options_;
  history::HistoryWords history_words_;

  // Changed by Start and Stop, before and after all threads.
  ServPlugin<ILanguageManagerEx> language_manager_{L"LanguageManager"};
  ServPlugin<ILanguages> languages_{L"LanguageManager"};
  ServPlugin<messaging::rpc::client_handler> client_{L"RemoteAccess"};
  IProviders* providers_ = nullptr;
  std::vector<History::IHistoryTranslator*> translators_;

  std::atomic<size_t> sessions_{0};         // As last asked.
  std::unique_ptr<Connection> connection_;  // From Start on.

  Mutex listener_mutex_;  // Held while the listener is called.
  IListener* listener_ = nullptr;

  // Last: they call back.
  PlainEnglish plain_english_;
  TasksManager tasks_;
  MainWindowManager main_window_;
  HistoryView history_;
};

}  // namespace host::console
