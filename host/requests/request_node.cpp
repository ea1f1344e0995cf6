#include "host/requests/request_node.h"

#include <utility>

namespace {

char* PutNumber(char* to, size_t number) {
  for (int shift = 0; shift != 32; shift += 8)
    *to++ = static_cast<char>(number >> shift & 0xFF);
  return to;
}

// Takes a number from the front of `from`; false where that is too short.
bool TakeNumber(std::string_view& from, uint32_t& number) {
  if (from.size() < sizeof(number)) return false;
  number = 0;
  for (size_t i = 0; i != sizeof(number); ++i) {
    number |= uint32_t{static_cast<unsigned char>(from[i])} << 8 * i;
  }
  from.remove_prefix(sizeof(number));
  return true;
}

}  // namespace

bool RequestNode::Add(uint32_t id, std::string_view bytes) {
  const auto old = parameters_.find(id);
  const bool is_new = old == parameters_.end();
  if (is_new && parameters_.size() == kMaxParameters) return false;
  const size_t rest = is_new ? size_ + kHeaderSize : size_ - old->second.size();
  if (rest > kMaxSize || bytes.size() > kMaxSize - rest) return false;
  if (is_new) {
    parameters_.emplace(id, bytes);
  } else {
    old->second = std::string(bytes);
  }
  size_ = rest + bytes.size();
  return true;
}

const std::string* RequestNode::Find(uint32_t id) const {
  const auto found = parameters_.find(id);
  return found == parameters_.end() ? nullptr : &found->second;
}

void RequestNode::Save(char* to) const {
  if (parameters_.empty()) return;
  to = PutNumber(PutNumber(to, kMark), parameters_.size());
  for (const auto& [id, bytes] : parameters_) {
    to = PutNumber(PutNumber(to, id), bytes.size());
    to += bytes.copy(to, bytes.size());
  }
}

std::optional<RequestNode> RequestNode::Load(std::string_view saved) {
  RequestNode root;
  if (saved.empty()) return root;
  uint32_t mark = 0;
  uint32_t count = 0;
  if (!TakeNumber(saved, mark) || mark != kMark) return std::nullopt;
  if (!TakeNumber(saved, count) || count == 0) return std::nullopt;
  for (uint32_t i = 0; i != count; ++i) {
    uint32_t id = 0;
    uint32_t size = 0;
    if (!TakeNumber(saved, id) || !TakeNumber(saved, size) || size > saved.size()) {
      return std::nullopt;
    }
    if (i != 0 && root.parameters_.rbegin()->first >= id) return std::nullopt;
    if (!root.Add(id, saved.substr(0, size))) return std::nullopt;
    saved.remove_prefix(size);
  }
  if (!saved.empty()) return std::nullopt;
  return root;
}
