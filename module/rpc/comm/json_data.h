#pragma once

#include <json/value.h>

#include <string>

#include "module/frame/json.h"
#include "module/frame/json_path.h"

// The text form of a record that is a parameter of a call: an object with the record as its one
// member, "data".

namespace messaging::rpc {

inline constexpr const char* kRecordPath = "/data";

// `save(node)` writes the record there. What it leaves out is missing in the text.
template <class Save>
std::string WriteJsonData(Save save) {
  Json::Value tree;
  Json::Value* node = &tree;
  orn::MoveToSubnode(node, kRecordPath);
  save(node);
  orn::JsonWriter writer;
  writer.OmitEndingLineFeed();
  return writer.Write(tree);
}

// `load(tree, path)` reads the record at the path. False where the text is no JSON or the record
// is not whole.
template <class Load>
bool ReadJsonData(const std::string& text, Load load) {
  Json::Value tree;
  return orn::JsonReader().Parse(text, tree) && load(&tree, kRecordPath);
}

// The two for a record that has SaveRecord and LoadRecord.

template <class Record>
std::string ToJsonData(const Record& record) {
  return WriteJsonData([&](Json::Value* node) { SaveRecord(record, node); });
}

template <class Record>
bool FromJsonData(const std::string& text, Record& record) {
  return ReadJsonData(
      text, [&](Json::Value* tree, const char* path) { return LoadRecord(record, tree, path); });
}

}  // namespace messaging::rpc
