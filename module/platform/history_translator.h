#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

#include "module/frame/interface_id.h"
#include "module/frame/string.h"
#include "module/platform/history.h"

namespace History {

// A record in words, in the language of the console.
struct Translation {
  orn::StringT<wchar_t> title;
  orn::StringT<wchar_t> details;
  Json::Value extra;
};

// Turns the records of some features into words. Any thread.
struct IHistoryTranslator {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{6699B630-5A9D-4125-8457-F20BA7A989A6}");
  static constexpr const wchar_t* kTypeName = L"History::IHistoryTranslator";

  // Replaces the contents by the names of the features whose records it knows.
  virtual void GetFeatures(std::vector<std::wstring>& features) = 0;
  // 0 when `result` was filled, 1627 where the record is none of those it knows.
  virtual uint32_t Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                             Translation& result) = 0;
  virtual void Reserved() = 0;

 protected:
  ~IHistoryTranslator() = default;
};

}  // namespace History
