#pragma once

#include "module/console/history_event.h"
#include "module/frame/list.h"
#include "module/platform/history_translator.h"

// Records of the feature's events in words. Nothing here changes after construction; any thread.
namespace orn::RemoteAccess::Console {

// The order of the operations is binary contract.
class TranslateEventBase {
 public:
  virtual ~TranslateEventBase() = default;

  // Tells which records are this event's; null for a translator of several.
  virtual const HistoryUtils::EventDecoderBase* GetDecoder() const = 0;
  // False where the record is none that it knows, or incomplete.
  virtual bool Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                         History::Translation& result) const = 0;
};

class TranslateOnEndTerminalSession final : public TranslateEventBase {
 public:
  const HistoryUtils::EventDecoderBase* GetDecoder() const override { return &decoder_; }
  bool Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                 History::Translation& result) const override;

 private:
  const OnEndTerminalSession decoder_;
};

// All of them: the first whose decoder knows the record puts it into words.
class TranslateEvents final : public TranslateEventBase {
 public:
  TranslateEvents() { events_.PushBack(&end_terminal_session_); }
  TranslateEvents(const TranslateEvents&) = delete;
  TranslateEvents& operator=(const TranslateEvents&) = delete;

  const HistoryUtils::EventDecoderBase* GetDecoder() const override { return nullptr; }
  bool Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                 History::Translation& result) const override;

 private:
  TranslateOnEndTerminalSession end_terminal_session_;
  List<TranslateEventBase*> events_;
};

// Its name elsewhere, which a class with such an operation cannot have itself.
using Translate = TranslateEvents;

}  // namespace orn::RemoteAccess::Console
