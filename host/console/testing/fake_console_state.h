#pragma once

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/console/console_state.h"

namespace host::console {

// A state that shows what it is told to, with a history of any length that is made up as it is
// read. Any thread.
class FakeConsoleState final : public IConsoleState {
 public:
  using Texts = std::map<std::wstring, std::wstring>;

  void SetListener(IListener* listener) override { Set(listener_, listener); }
  bool IsServiceThere() override { return Get(service_); }
  std::vector<OpenSession> GetSessions() override { return Get(sessions_); }
  std::vector<int64_t> GetSessionStarts() override { return Get(starts_); }
  size_t GetHistorySize() override { return Get(history_size_); }
  std::vector<HistoryLine> ReadHistory(size_t first, size_t count) override {
    const std::lock_guard lock(mutex_);
    std::vector<HistoryLine> lines;
    for (size_t row = first; row < std::min(first + count, history_size_); ++row)
      lines.push_back({static_cast<int64_t>(history_size_ - row), kTime, L"title", L"details"});
    lines_read_ += lines.size();
    return lines;
  }
  std::wstring Translate(const wchar_t* english) override {
    const std::lock_guard lock(mutex_);
    const auto text = texts_.find(english);
    return language_ == L"en" || text == texts_.end() ? english : text->second;
  }
  std::vector<Language> GetLanguages() override { return {{L"de", L"Deutsch"}}; }
  std::wstring GetLanguage() override { return Get(language_); }
  void SetLanguage(const std::wstring& code) override { Set(language_, code); }

  // No announcement of its own: see Announce.
  void SetService(bool there) { Set(service_, there); }
  void SetSessions(std::vector<OpenSession> sessions, std::vector<int64_t> starts) {
    Set(sessions_, std::move(sessions));
    Set(starts_, std::move(starts));
  }
  void SetHistorySize(size_t size) { Set(history_size_, size); }
  // Those of the language that is not English.
  void SetTexts(Texts texts) { Set(texts_, std::move(texts)); }
  void Announce() {
    const std::lock_guard lock(mutex_);
    if (listener_ != nullptr) listener_->OnChanged();
  }
  size_t lines_read() { return Get(lines_read_); }

 private:
  static constexpr int64_t kTime = 1'700'000'000;

  template <class T>
  T Get(const T& member) {
    const std::lock_guard lock(mutex_);
    return member;
  }
  template <class T>
  void Set(T& member, T value) {
    const std::lock_guard lock(mutex_);
    member = std::move(value);
  }

  std::mutex mutex_;
  IListener* listener_ = nullptr;
  bool service_ = true;
  std::vector<OpenSession> sessions_;
  std::vector<int64_t> starts_;
  size_t history_size_ = 0;
  size_t lines_read_ = 0;
  std::wstring language_ = L"en";
  Texts texts_;
};

}  // namespace host::console
