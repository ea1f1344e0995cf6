#include "module/frame/json_path.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "module/frame/json.h"
#include "module/frame/utf.h"

namespace orn {
namespace {

bool IsSeparator(char c) {
  return c == '\\' || c == '/';
}

// JsonCpp throws where a member or an element is asked of a value of another type, so these two
// look first.

Json::Value* Member(Json::Value& node, const char* name, const char* end, bool create) {
  if (!node.isObject()) {
    if (!create) return nullptr;
    node = Json::Value();
  } else if (!create && node.find(name, end) == nullptr) {
    return nullptr;
  }
  return node.demand(name, end);
}

Json::Value* Element(Json::Value& node, int index, bool create) {
  if (index < 0) return nullptr;
  const auto position = static_cast<Json::ArrayIndex>(index);
  if (!node.isArray() || !node.isValidIndex(position)) {
    if (!create) return nullptr;
    if (!node.isArray()) node = Json::Value();
    node[position] = Json::Value();
  }
  return &node[position];
}

}  // namespace

Json::Value* FindNode(Json::Value* root, const char* path, bool create) {
  if (root == nullptr || path == nullptr || *path == 0) return root;
  Json::Value* node = root;
  const char* rest = IsSeparator(*path) ? path + 1 : path;
  while (*rest != 0) {
    const char* const name = rest;
    const char* const end = name + std::strcspn(name, "\\/[");
    const bool has_index = *end == '[';
    if (has_index) {
      const char* const close = std::strchr(end, ']');
      if (close == nullptr) return nullptr;
      rest = close + 1;
    } else {
      if (end == name) return nullptr;
      rest = *end == 0 ? end : end + 1;
    }
    if (end != name) node = Member(*node, name, end, create);
    if (node != nullptr && has_index) node = Element(*node, std::atoi(end + 1), create);
    if (node == nullptr) return nullptr;
  }
  return node->isNull() && !create ? nullptr : node;
}

void MoveToSubnode(Json::Value*& cursor, const char* path) {
  cursor = FindNode(cursor, path, /*create=*/true);
}

bool GetJson(bool& target, Json::Value* root, const char* key) {
  target = false;
  const Json::Value* const node = FindNode(root, key, /*create=*/false);
  if (node == nullptr) return false;
  if (node->isBool()) {
    target = node->asBool();
    return true;
  }
  uint32_t number = 0;
  if (!GetJson(number, root, key)) return false;
  target = number != 0;
  return true;
}

bool GetJson(uint32_t& target, Json::Value* root, const char* key) {
  target = 0;
  const Json::Value* const node = FindNode(root, key, /*create=*/false);
  if (node == nullptr || !(node->isInt() || node->isUInt())) return false;
  target = node->isInt() ? static_cast<uint32_t>(node->asInt()) : node->asUInt();
  return true;
}

bool GetJson(int32_t& target, Json::Value* root, const char* key) {
  uint32_t bits = 0;
  const bool found = GetJson(bits, root, key);
  target = static_cast<int32_t>(bits);
  return found;
}

bool GetJson(int64_t& target, Json::Value* root, const char* key) {
  target = 0;
  const Json::Value* const node = FindNode(root, key, /*create=*/false);
  if (node == nullptr || !(node->isInt64() || node->isUInt64())) return false;
  target = node->isInt64() ? node->asInt64() : static_cast<int64_t>(node->asUInt64());
  return true;
}

bool GetJson(StringT<char>& target, Json::Value* root, const char* key) {
  target.clear();
  const Json::Value* const node = FindNode(root, key, /*create=*/false);
  if (node == nullptr) return false;
  if (node->isString()) {
    target = std::string_view(node->asString());
    return true;
  }
  int32_t number = 0;
  if (!GetJson(number, root, key)) return false;
  target = std::string_view(std::to_string(number));
  return true;
}

bool GetJson(StringT<wchar_t>& target, Json::Value* root, const char* key) {
  StringT<char> text;
  const bool found = GetJson(text, root, key);
  target = ToWide(text.view());
  return found;
}

bool GetJsonText(StringT<wchar_t>& target, Json::Value* root, const char* key) {
  target.clear();
  const Json::Value* const node = FindNode(root, key, /*create=*/false);
  if (node == nullptr) return false;
  target = ToWide(node->toStyledString());
  return true;
}

bool SetJson(Json::Value value, Json::Value* root, const char* key) {
  Json::Value* const node = FindNode(root, key, /*create=*/true);
  if (node == nullptr) return false;
  *node = std::move(value);
  return true;
}

bool SetJson(const StringT<char>& value, Json::Value* root, const char* key) {
  return SetJson(Json::Value(value.c_str(), value.c_str() + value.length()), root, key);
}

bool SetJson(const StringT<wchar_t>& value, Json::Value* root, const char* key) {
  return SetJson(ToUtf8(value.view()), root, key);
}

bool SetJsonText(const StringT<wchar_t>& text, Json::Value* root, const char* key) {
  Json::Value value;
  JsonReader().Parse(ToUtf8(text.view()).c_str(), value);
  return SetJson(std::move(value), root, key);
}

}  // namespace orn
