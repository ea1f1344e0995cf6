#include "host/console/state.h"

#include <json/value.h>

#include <algorithm>
#include <map>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host::console {
namespace {

constexpr const wchar_t* kFunction = L"host::console::ConsoleState";
constexpr const wchar_t* kNamespace = L"console";
constexpr const wchar_t* kFeature = L"RemoteAccess";

std::wstring Text(const orn::StringT<wchar_t>& text) {
  return std::wstring(text.view());
}

// What nobody can put into words: "0: 1, 1: 0".
std::wstring Numbers(const IHistory::Event::Data& data) {
  std::map<int32_t, std::wstring> sorted;
  const std::unique_ptr<orn::IConstEnum<int32_t, orn::StringT<wchar_t>>,
                        void (*)(orn::IConstEnum<int32_t, orn::StringT<wchar_t>>*)>
      values(data.values.GetConstEnum(), [](auto* walk) { walk->Release(); });
  for (; values->HasNext(); values->Next())
    sorted[*values->GetKey()] = Text(*values->GetValue());
  std::wstring text;
  for (const auto& [key, value] : sorted) {
    if (!text.empty()) text += L", ";
    text += std::to_wstring(key) + L": " + value;
  }
  return text;
}

// Where the translation service looks for it.
void KeepLanguage(const std::wstring& code) {
  const LSTATUS status =
      RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Tessaro\\Console", L"language", REG_SZ,
                      code.c_str(), static_cast<DWORD>((code.size() + 1) * sizeof(wchar_t)));
  if (status != ERROR_SUCCESS) {
    ORN_LOG(logging::kWarning, kFunction, L"The choice of the language cannot be kept: [%ld]",
            status);
  }
}

}  // namespace

ConsoleState::ConsoleState(ConsoleOptions options)
    : options_(std::move(options)),
      history_words_([this](const wchar_t* english) { return Translate(english); }),
      tasks_([this] { OnTasksAsked(); }),
      main_window_([this] { Changed(); }),
      history_(options_.history, [this] { Changed(); }) {}

uint32_t ConsoleState::Start(IServMain& main, IProviders& providers,
                             std::vector<History::IHistoryTranslator*> translators) {
  IComponentManager* const manager = main.GetComponentManager();
  if (language_manager_.GetPlugin(manager) == nullptr || languages_.GetPlugin(manager) == nullptr ||
      client_.GetPlugin(manager) == nullptr) {
    return error::kMissingDependency;
  }
  providers_ = &providers;
  translators_ = std::move(translators);
  translators_.push_back(&history_words_);
  // Otherwise it is the user's already.
  if (!options_.language.empty()) UseLanguage(options_.language);
  history_.Start();
  // Where that fails, it is tried again with the service.
  providers.Prepare();
  connection_ = std::make_unique<Connection>(*client_.get(), *this);
  connection_->Start();
  return error::kSuccess;
}

void ConsoleState::Stop() {
  if (providers_ == nullptr) return;
  connection_->Stop();
  providers_->End();
  providers_ = nullptr;
  history_.Stop();
  client_.Release();
  languages_.Release();
  language_manager_.Release();
}

void ConsoleState::SetListener(IListener* listener) {
  const Lock lock(listener_mutex_);
  listener_ = listener;
}

void ConsoleState::Changed() {
  const Lock lock(listener_mutex_);
  if (listener_ != nullptr) listener_->OnChanged();
}

bool ConsoleState::Begin() {
  if (!providers_->Start()) {
    providers_->Prepare();
    return false;
  }
  // They were asked as they registered, before they knew anything.
  main_window_.Ask();
  tasks_.Refresh();
  history_.Look();
  Changed();
  return true;
}

void ConsoleState::End() {
  // At once, whatever the providers wait for.
  Changed();
  providers_->End();
  providers_->Prepare();
  Changed();
}

// The service learns of the subscriptions while it answers for the first time, so a session that
// begins then may be told by neither.
void ConsoleState::Check() {
  if (!IsBannerRight()) {
    ORN_LOG(logging::kNotice, kFunction, L"The banner is begun anew");
    providers_->RenewBanner();
    main_window_.Ask();
  }
  tasks_.Refresh();
  history_.Look();
}

void ConsoleState::OnTasksAsked() {
  // An end is a record soon. The system may tell of a file that the service keeps open only when
  // somebody opens it.
  const size_t sessions = tasks_.GetTasks().size();
  const bool other = sessions != sessions_.exchange(sessions);
  if (connection_ != nullptr && (other || !IsBannerRight())) connection_->CheckSoon();
  Changed();
}

bool ConsoleState::IsServiceThere() {
  return connection_ != nullptr && connection_->IsThere();
}

std::vector<OpenSession> ConsoleState::GetSessions() {
  std::vector<OpenSession> sessions;
  if (!IsServiceThere()) return sessions;
  for (const ::Console::Tasks::Task& task : tasks_.GetTasks()) {
    sessions.push_back(
        {.id = Text(task.id), .name = Text(task.name), .description = Text(task.description)});
  }
  return sessions;
}

std::vector<int64_t> ConsoleState::GetSessionStarts() {
  std::vector<int64_t> starts;
  if (!IsServiceThere() || tasks_.GetTasks().empty()) return starts;
  const Json::Value list = main_window_.GetList(kFeature);
  if (!list.isObject() || !list["sessions"].isArray()) return starts;
  for (const Json::Value& session : list["sessions"]) {
    if (session.isObject() && session["startTimestamp"].isInt64()) {
      starts.push_back(session["startTimestamp"].asInt64());
    }
  }
  std::ranges::sort(starts);
  return starts;
}

bool ConsoleState::IsBannerRight() {
  const size_t sessions = GetSessions().size();
  return sessions == 0 || GetSessionStarts().size() == sessions;
}

std::vector<HistoryLine> ConsoleState::ReadHistory(size_t first, size_t count) {
  std::vector<HistoryLine> lines;
  for (const history::HistoryRecord& record : history_.Read(first, count))
    lines.push_back(MakeLine(record));
  return lines;
}

HistoryLine ConsoleState::MakeLine(const history::HistoryRecord& record) {
  HistoryLine line{.sequence = record.sequence, .time = record.time, .title = {}, .details = {}};
  for (History::IHistoryTranslator* const translator : translators_) {
    std::vector<std::wstring> features;
    translator->GetFeatures(features);
    if (std::ranges::find(features, record.feature) == features.end()) continue;
    History::Translation words;
    if (translator->Translate(record.feature.c_str(), record.data, words) != 0) continue;
    line.title = Text(words.title);
    line.details = Text(words.details);
    return line;
  }
  line.title = record.feature;
  line.details = Numbers(record.data);
  return line;
}

std::wstring ConsoleState::Translate(const wchar_t* english) {
  orn::StringT<wchar_t> text;
  if (!language_manager_ || language_manager_->Translate(english, kNamespace, &text) != 0) {
    return english;
  }
  return Text(text);
}

std::vector<Language> ConsoleState::GetLanguages() {
  std::vector<Language> languages;
  for (auto& [code, name] : languages_->GetLanguages())
    languages.push_back({.code = code, .name = name});
  return languages;
}

std::wstring ConsoleState::GetLanguage() {
  return languages_->GetLanguage();
}

void ConsoleState::SetLanguage(const std::wstring& code) {
  KeepLanguage(code);
  UseLanguage(code);
  // The providers' texts are of their language.
  tasks_.Refresh();
  Changed();
}

void ConsoleState::UseLanguage(const std::wstring& code) {
  if (const uint32_t status = language_manager_->SetLanguage(code.c_str()); status != 0) {
    ORN_LOG(logging::kWarning, kFunction, L"Language \"%s\" cannot be had: [%u]", code.c_str(),
            status);
  }
}

}  // namespace host::console
