#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"
#include "module/frame/map.h"
#include "module/frame/string.h"

// The local history, plug-in "History.Logger": records of numbers under a feature's name, kept on
// the machine. What they mean is told by a translator when somebody reads them
// (history_translator.h).
struct IHistory {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{CBA73556-E0EE-4D90-A492-F0629A60680B}");
  static constexpr const wchar_t* kTypeName = L"IHistory";

  struct Event {
    // The order of the fields is binary contract. RemoteAccess uses `values` alone.
    struct Data {
      int32_t number = 0;
      int64_t large_number = 0;
      orn::Map<int32_t, orn::StringT<wchar_t>> values;
      orn::StringT<wchar_t> text;
    };
  };

  // Appends a record with the present time. Any thread; copies what it gets. Returns a status, 0
  // once the record is kept.
  virtual uint32_t Add(const Event::Data* data, const wchar_t* feature) = 0;

 protected:
  ~IHistory() = default;
};
