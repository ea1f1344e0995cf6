#pragma once

#include <functional>
#include <string>
#include <utility>

#include "module/platform/history_translator.h"

namespace host::history {

// Puts the records that the history writes about itself (own_events.h) into words.
class HistoryWords final : public History::IHistoryTranslator {
 public:
  // Gives the text in the reader's language by its English form; any thread.
  using Lookup = std::function<std::wstring(const wchar_t* english)>;

  explicit HistoryWords(Lookup lookup) : lookup_(std::move(lookup)) {}

  void GetFeatures(std::vector<std::wstring>& features) override;
  // `details` is the name of the set-aside file, or empty.
  uint32_t Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                     History::Translation& result) override;
  void Reserved() override {}

 private:
  const Lookup lookup_;
};

}  // namespace host::history
