#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

// A request tree: numbered parameters, all in the root, as the library has no call that makes a
// branch. What it holds is bounded, so that each tree can be saved, sent and loaded again. One
// thread at a time.
//
// The saved form, all numbers little-endian and of 32 bits: kMark, the count of parameters, then
// of each its identifier, its size and its bytes. Identifiers ascend, nothing follows the last:
// a tree has one form only.
struct RequestNode {
 public:
  static constexpr uint32_t kMark = 0x01515252;  // "RRQ" and the form's version.
  static constexpr size_t kMaxParameters = 1024;
  // Of the saved form. A message may have 64 MiB, with all that stands beside the tree.
  static constexpr size_t kMaxSize = size_t{63} << 20;

  // Takes or replaces a parameter. False, and nothing changed, beyond the bounds.
  bool Add(uint32_t id, std::string_view bytes);
  // Null where there is none. Valid until the parameter is replaced.
  const std::string* Find(uint32_t id) const;

  // 0 for the empty tree.
  size_t SavedSize() const { return parameters_.empty() ? 0 : size_; }
  // Writes SavedSize() bytes.
  void Save(char* to) const;
  // The bytes may be anybody's: nothing where they are not exactly what Save writes. No bytes give
  // the empty tree.
  static std::optional<RequestNode> Load(std::string_view saved);

 private:
  static constexpr size_t kHeaderSize = 2 * sizeof(uint32_t);  // Also of each parameter.

  std::map<uint32_t, std::string> parameters_;
  size_t size_ = kHeaderSize;
};
