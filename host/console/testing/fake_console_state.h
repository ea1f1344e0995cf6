#pragma once

#include <algorithm>
#include <ctime>
#include <cwchar>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/console/console_state.h"

namespace host::console {

// A state that shows what it is told to, with a history of any length that is made up as it is
// read. Any thread.
class FakeConsoleState final : public IConsoleState {
 public:
  using Texts = std::map<std::wstring, std::wstring>;

  void SetListener(IListener* listener) override {
    const std::lock_guard lock(mutex_);
    listener_ = listener;
  }
  bool IsServiceThere() override {
    const std::lock_guard lock(mutex_);
    return service_;
  }
  std::vector<OpenSession> GetSessions() override {
    const std::lock_guard lock(mutex_);
    return sessions_;
  }
  std::vector<int64_t> GetSessionStarts() override {
    const std::lock_guard lock(mutex_);
    return starts_;
  }
  size_t GetHistorySize() override {
    const std::lock_guard lock(mutex_);
    return history_size_;
  }
  std::vector<HistoryLine> ReadHistory(size_t first, size_t count) override {
    const std::lock_guard lock(mutex_);
    std::vector<HistoryLine> lines;
    for (size_t row = first; row < std::min(first + count, history_size_); ++row) {
      const auto sequence = static_cast<int64_t>(history_size_ - row);
      const int64_t time = kFirstTime + sequence * 5417;
      lines.push_back({sequence, time, TextLocked(L"Administrator ended a remote shell connection"),
                       DetailsLocked(time)});
    }
    lines_read_ += lines.size();
    return lines;
  }
  std::wstring Translate(const wchar_t* english) override {
    const std::lock_guard lock(mutex_);
    return TextLocked(english);
  }
  std::vector<Language> GetLanguages() override {
    const std::lock_guard lock(mutex_);
    return languages_;
  }
  std::wstring GetLanguage() override {
    const std::lock_guard lock(mutex_);
    return language_;
  }
  void SetLanguage(const std::wstring& code) override {
    const std::lock_guard lock(mutex_);
    language_ = code;
  }

  // No announcement of its own: see Announce.
  void SetService(bool there) {
    const std::lock_guard lock(mutex_);
    service_ = there;
  }
  void SetSessions(std::vector<OpenSession> sessions, std::vector<int64_t> starts) {
    const std::lock_guard lock(mutex_);
    sessions_ = std::move(sessions);
    starts_ = std::move(starts);
  }
  void SetHistorySize(size_t size) {
    const std::lock_guard lock(mutex_);
    history_size_ = size;
  }
  void AddLanguage(const Language& language, Texts texts) {
    const std::lock_guard lock(mutex_);
    languages_.push_back(language);
    texts_[language.code] = std::move(texts);
  }
  void Announce() {
    const std::lock_guard lock(mutex_);
    if (listener_ != nullptr) listener_->OnChanged();
  }
  size_t lines_read() {
    const std::lock_guard lock(mutex_);
    return lines_read_;
  }

 private:
  static constexpr int64_t kFirstTime = 1'236'050'000;

  std::wstring TextLocked(const std::wstring& english) const {
    const auto texts = texts_.find(language_);
    if (texts == texts_.end()) return english;
    const auto text = texts->second.find(english);
    return text == texts->second.end() ? english : text->second;
  }

  std::wstring DateLocked(time_t time) const {
    constexpr const wchar_t* kMonths[] = {L"Jan",  L"Feb", L"Mar",  L"Apr", L"May", L"June",
                                          L"July", L"Aug", L"Sept", L"Oct", L"Nov", L"Dec"};
    const tm* date = gmtime(&time);
    wchar_t text[40];
    swprintf(text, 40, L"%d %ls, %02d:%02d", date->tm_mday,
             TextLocked(kMonths[date->tm_mon]).c_str(), date->tm_hour, date->tm_min);
    return text;
  }
  std::wstring DetailsLocked(int64_t end) const {
    std::wstring details = TextLocked(L"Session Started: [%1]. Session Ended: [%2]");
    const int64_t start = end - 120 - end % 3000;
    details.replace(details.find(L"[%1]"), 4, DateLocked(start));
    return details.replace(details.find(L"[%2]"), 4, DateLocked(end));
  }

  std::mutex mutex_;
  IListener* listener_ = nullptr;
  bool service_ = true;
  std::vector<OpenSession> sessions_;
  std::vector<int64_t> starts_;
  size_t history_size_ = 0;
  size_t lines_read_ = 0;
  std::wstring language_ = L"en";
  std::vector<Language> languages_;
  std::map<std::wstring, Texts> texts_;
};

}  // namespace host::console
