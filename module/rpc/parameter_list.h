#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "module/frame/string.h"
#include "module/platform/messaging.h"
#include "module/platform/request_tree.h"

namespace messaging::rpc {

// The numbered parameters of one call, in or out, or of one event:
//
//   ParameterList input;
//   if (!input.AddBytes(kDownloadInput, json)) return 1627;
//   input.SaveTo(*call);
//
// All operations give false on failure, and what they were to fill stays as it was then. An add or
// a load fails without the request-tree library, a read without a tree. One thread at a time.
class ParameterList {
 public:
  ParameterList() = default;
  ParameterList(ParameterList&& other) noexcept;
  ParameterList& operator=(ParameterList&& other) noexcept;
  ParameterList(const ParameterList&) = delete;
  ParameterList& operator=(const ParameterList&) = delete;
  ~ParameterList() { Free(); }

  // Whether there is a tree: since the first add, or a load that found one.
  bool HasTree() const { return root_ != nullptr; }

  // What is there already is replaced. A text may be empty, also without a pointer.
  bool AddValue(uint32_t id, uint32_t value);
  bool AddBytes(uint32_t id, std::string_view bytes);
  // By UTF-16 units, two bytes each and without a terminator.
  bool AddUtf16(uint32_t id, std::wstring_view text);

  // False where the parameter is missing or has another size than 4.
  bool ReadValue(uint32_t id, uint32_t& value) const;
  bool ReadBytes(uint32_t id, std::string& bytes) const;
  // Also false where the size is odd.
  bool ReadUtf16(uint32_t id, orn::StringT<wchar_t>& text) const;

  // Puts the saved tree into the field "data". There is no such field after the save of an empty
  // tree, or one that fails.
  void SaveTo(message& to) const;
  // Takes the field "data". True, and the list as it was, where the message has none; false, and
  // the list empty, where it is no saved tree.
  bool LoadFrom(const message& from);

 private:
  bool CreateTree();
  bool Find(uint32_t id, const void*& bytes, uint32_t& size) const;
  void Free();

  RequestNode* root_ = nullptr;
};

}  // namespace messaging::rpc
