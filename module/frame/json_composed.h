#pragma once

#include <json/value.h>

#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "module/frame/json_path.h"
#include "module/frame/string.h"

// Records read from a JSON tree, told member by member:
//
//   bool Load(Order& order, Json::Value* node) {
//     return JsonComposedSerializer(node).Group("", [&](const JsonComposedSerializer& root) {
//       return root.Field(order.number, "number") &&
//              root.List(order.items, "items", [](Item& item, const JsonComposedSerializer& at) {
//                return at.Field(item.name, "name");
//              });
//     });
//   }
//
// Whatever cannot be read is named in a log line, and so is each list and group around it. The
// target keeps what could be read.

namespace orn {

class JsonComposedSerializer {
 public:
  // `cursor` is the node to read from, not owned; from null everything fails without a log line.
  explicit JsonComposedSerializer(Json::Value* cursor) : cursor_(cursor) {}

  // A bool, number or text, by the rules of GetJson.
  template <class T>
  bool Field(T& target, const char* key) const {
    return cursor_ != nullptr && (GetJson(target, cursor_, key) || Failed(key));
  }

  // Any value, kept as a JSON text.
  bool JsonTextField(StringT<wchar_t>& target, const char* key) const {
    return cursor_ != nullptr && (GetJsonText(target, cursor_, key) || Failed(key));
  }

  // One of the words, which stand for the enumeration's values from 0 on.
  template <class Enumeration>
  bool WordField(Enumeration& target, const char* key, std::span<const char* const> words) const {
    if (cursor_ == nullptr) return false;
    StringT<char> word;
    if (!GetJson(word, cursor_, key)) return Failed(key);
    for (size_t i = 0; i < words.size(); ++i) {
      if (word != words[i]) continue;
      target = static_cast<Enumeration>(i);
      return true;
    }
    return Failed(key);
  }

  // Leaves the target as it is where the member is absent or null; clears it where it is something
  // else that does not fit.
  template <class T>
  void OptionalField(T& target, const char* key) const {
    if (Has(key)) Field(target, key);
  }

  // An array; empty it is fine. `load(element, serializer)` reads one element. Where one fails the
  // list is left empty.
  template <class T, class Load>
  bool List(std::vector<T>& list, const char* key, Load load) const {
    if (cursor_ == nullptr) return false;
    list.clear();
    Json::Value* const array = FindNode(cursor_, key, /*create=*/false);
    if (array == nullptr || !array->isArray()) return Failed(key);
    list.reserve(array->size());
    for (Json::ArrayIndex i = 0; i < array->size(); ++i) {
      Json::Value* const node = FindNode(cursor_, ElementPath(key, i).c_str(), /*create=*/false);
      T element;
      if (node == nullptr || !load(element, JsonComposedSerializer(node))) {
        list.clear();
        return Failed(key);
      }
      list.push_back(std::move(element));
    }
    return true;
  }

  // What lies at `path`, which is made where it is absent: then `load(serializer)` finds nothing.
  template <class Load>
  bool Group(const char* path, Load load) const {
    if (cursor_ == nullptr) return false;
    Json::Value* node = cursor_;
    MoveToSubnode(node, path);
    return load(JsonComposedSerializer(node)) || Failed(path);
  }

  // Whether the node is an object with a member of that name, other than null.
  bool Has(const char* name) const;

  // The node to read from.
  Json::Value* cursor() const { return cursor_; }

  // "key[index]".
  static std::string ElementPath(const char* key, Json::ArrayIndex index);

 private:
  // Logs it; false.
  static bool Failed(const char* key);

  Json::Value* cursor_;
};

// The counterpart of List: `save(element, node)` writes one element. False where one fails; what
// was written stays.
template <class T, class Save>
bool SaveJsonList(const std::vector<T>& list, Json::Value* root, const char* key, Save save) {
  if (!SetJson(Json::Value(Json::arrayValue), root, key)) return false;
  for (size_t i = 0; i < list.size(); ++i) {
    const auto index = static_cast<Json::ArrayIndex>(i);
    Json::Value* node = root;
    MoveToSubnode(node, JsonComposedSerializer::ElementPath(key, index).c_str());
    if (!save(list[i], node)) return false;
  }
  return true;
}

}  // namespace orn
