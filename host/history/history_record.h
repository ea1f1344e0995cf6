#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "module/platform/history.h"

namespace host::history {

using Hash = std::array<uint8_t, 32>;  // SHA-256

// A record of the machine's history.
struct HistoryRecord {
  int64_t sequence = 0;  // From 1, without gaps.
  int64_t time = 0;      // When it was added, in seconds since 1970.
  std::wstring feature;
  IHistory::Event::Data data;
  Hash hash{};  // Of this record and the one before.
};

// The last record of a store: by its hash it stands for all of them.
struct HistoryHead {
  int64_t sequence = 0;  // 0 and no hash where there is none.
  Hash hash{};

  bool operator==(const HistoryHead&) const = default;
};

// The canonical form of a record without its hash: version, sequence, time, feature, the fields of
// the data, the values ascending by their keys; numbers little-endian, texts as UTF-16 with their
// lengths in front. It keeps whatever a text may hold: lone surrogates, zero characters.
std::string EncodeRecord(const HistoryRecord& record);

// False where the bytes are no such form, to the last one. Any bytes will do.
bool DecodeRecord(std::string_view bytes, HistoryRecord& record);

// The sequence that such a form begins with; 0 where it is cut off before.
int64_t EncodedSequence(std::string_view bytes);

// "0123...": 64 characters of 0-9 a-f.
std::string HexText(const Hash& hash);
// False where the text is none.
bool ParseHexText(std::string_view text, Hash& hash);

}  // namespace host::history
