#include "host/history/history_record.h"

#include <bit>
#include <map>
#include <type_traits>

#include "module/frame/scope_guard.h"

namespace host::history {
namespace {

static_assert(std::endian::native == std::endian::little && sizeof(wchar_t) == 2);

constexpr uint8_t kVersion = 1;

template <class Number>
void Put(std::string& bytes, Number number) {
  static_assert(std::is_integral_v<Number>);
  bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
}

void PutText(std::string& bytes, std::wstring_view text) {
  Put(bytes, static_cast<uint32_t>(text.size()));
  for (const wchar_t unit : text)
    Put(bytes, unit);
}

class Parser {
 public:
  explicit Parser(std::string_view bytes) : bytes_(bytes) {}

  template <class Number>
  bool Get(Number& number) {
    if (bytes_.size() < sizeof(number)) return false;
    bytes_.copy(reinterpret_cast<char*>(&number), sizeof(number));
    bytes_.remove_prefix(sizeof(number));
    return true;
  }
  bool GetText(std::wstring& text) {
    uint32_t length = 0;
    if (!Get(length) || length > bytes_.size() / sizeof(wchar_t)) return false;
    text.resize(length);
    bytes_.copy(reinterpret_cast<char*>(text.data()), length * sizeof(wchar_t));
    bytes_.remove_prefix(length * sizeof(wchar_t));
    return true;
  }
  bool IsAtEnd() const { return bytes_.empty(); }

 private:
  std::string_view bytes_;
};

// In the order of their keys.
std::map<int32_t, std::wstring_view> Sorted(const IHistory::Event::Data& data) {
  std::map<int32_t, std::wstring_view> values;
  auto* const each = data.values.GetConstEnum();
  const orn::ScopeGuard release([each] { each->Release(); });
  for (; each->HasNext(); each->Next())
    values.emplace(*each->GetKey(), each->GetValue()->view());
  return values;
}

}  // namespace

std::string EncodeRecord(const HistoryRecord& record) {
  std::string bytes;
  Put(bytes, kVersion);
  Put(bytes, record.sequence);
  Put(bytes, record.time);
  PutText(bytes, record.feature);
  Put(bytes, record.data.number);
  Put(bytes, record.data.large_number);
  PutText(bytes, record.data.text.view());
  const auto values = Sorted(record.data);
  Put(bytes, static_cast<uint32_t>(values.size()));
  for (const auto& [key, value] : values) {
    Put(bytes, key);
    PutText(bytes, value);
  }
  return bytes;
}

bool DecodeRecord(std::string_view bytes, HistoryRecord& record) {
  Parser parser(bytes);
  uint8_t version = 0;
  std::wstring text;
  uint32_t values = 0;
  if (!parser.Get(version) || version != kVersion || !parser.Get(record.sequence) ||
      !parser.Get(record.time) || !parser.GetText(record.feature) ||
      !parser.Get(record.data.number) || !parser.Get(record.data.large_number) ||
      !parser.GetText(text) || !parser.Get(values)) {
    return false;
  }
  record.data.text = std::wstring_view(text);
  record.data.values.Clear();
  for (; values > 0; --values) {
    int32_t key = 0;
    if (!parser.Get(key) || !parser.GetText(text)) return false;
    if (record.data.values.Add(key, orn::StringT<wchar_t>(std::wstring_view(text))) != 0) {
      return false;
    }
  }
  return parser.IsAtEnd();
}

int64_t EncodedSequence(std::string_view bytes) {
  Parser parser(bytes);
  uint8_t version = 0;
  int64_t sequence = 0;
  return parser.Get(version) && parser.Get(sequence) ? sequence : 0;
}

std::string HexText(const Hash& hash) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : hash) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

bool ParseHexText(std::string_view text, Hash& hash) {
  if (text.size() != 2 * hash.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const size_t digit = std::string_view("0123456789abcdef").find(text[i]);
    if (digit == std::string_view::npos) return false;
    uint8_t& byte = hash[i / 2];
    byte = static_cast<uint8_t>(i % 2 == 0 ? digit << 4 : byte | digit);
  }
  return true;
}

}  // namespace host::history
