#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host::console {

// A remote shell session that is open now, in the language of the console.
struct OpenSession {
  std::wstring id;
  std::wstring name;
  std::wstring description;
};

// A record of the machine's history, in the language of the console. One that nobody can put into
// words shows its feature's name and numbers.
struct HistoryLine {
  int64_t sequence = 0;  // From 1, without gaps.
  int64_t time = 0;      // Of the record, in seconds since 1970.
  std::wstring title;
  std::wstring details;
};

struct Language {
  std::wstring code;  // "de"
  std::wstring name;  // In that language: "Deutsch".
};

// What there is to be seen at this machine. Any thread; no operation waits for another process
// longer than a remote call may take.
struct IConsoleState {
  struct IListener {
    // Something is different now: ask for what is shown. Any thread; must not call back.
    virtual void OnChanged() = 0;

   protected:
    ~IListener() = default;
  };

  // Null for none. When this has returned the former listener is called no more.
  virtual void SetListener(IListener* listener) = 0;

  // Whether the agent's service is there. Without it there are no sessions.
  virtual bool IsServiceThere() = 0;
  virtual std::vector<OpenSession> GetSessions() = 0;
  // When the open sessions began, in seconds since 1970: what the banner tells.
  virtual std::vector<int64_t> GetSessionStarts() = 0;

  virtual size_t GetHistorySize() = 0;
  // `count` records from `first` on, the newest first (0).
  virtual std::vector<HistoryLine> ReadHistory(size_t first, size_t count) = 0;

  // The text in the language of the console; the English one where there is no translation.
  virtual std::wstring Translate(const wchar_t* english) = 0;
  virtual std::vector<Language> GetLanguages() = 0;
  virtual std::wstring GetLanguage() = 0;
  // Kept for this user.
  virtual void SetLanguage(const std::wstring& code) = 0;

 protected:
  ~IConsoleState() = default;
};

}  // namespace host::console
