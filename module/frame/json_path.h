#pragma once

#include <json/value.h>

#include <cstdint>

#include "module/frame/string.h"

// Nodes of a JSON tree by path:
//
//   StringT<wchar_t> profile;
//   if (!GetJson(profile, input, "centralizedStorage\\profile")) return false;
//   SetJson(Json::Value(5), output, "items[0]");
//
// A path is names of members, joined by `\` or `/`. Behind a name, or alone for the node itself,
// an index in brackets leads to an element of an array; only a name without a separator can follow
// it. One separator at the beginning is skipped. The empty path is the node itself.
//
// Nothing here throws, whatever the tree holds; a null root is a node that is not there. Any
// thread, one at a time for a tree.

namespace orn {

// The node at the path, or null. What is not there, or JSON's null, is made where `create` is set:
// a value on the way that is no object, or no array where an index is wanted, gives way. A path
// with an empty name, a negative index or an open bracket leads nowhere.
Json::Value* FindNode(Json::Value* root, const char* path, bool create);

// Moves the cursor to the node at the path, which is made if need be; to null where the path leads
// nowhere.
void MoveToSubnode(Json::Value*& cursor, const char* path);

// Getters. They clear the target first, and are false where the node is absent, null or of another
// type. Numbers pass without a fraction only.

// A bool, or a number of 32 bits: true where it is not 0.
bool GetJson(bool& target, Json::Value* root, const char* key);
// A number of 32 bits, signed or unsigned: its bits.
bool GetJson(int32_t& target, Json::Value* root, const char* key);
bool GetJson(uint32_t& target, Json::Value* root, const char* key);
bool GetJson(int64_t& target, Json::Value* root, const char* key);
// A text, or a number of 32 bits, read as signed.
bool GetJson(StringT<char>& target, Json::Value* root, const char* key);
bool GetJson(StringT<wchar_t>& target, Json::Value* root, const char* key);
// Any value, as a JSON text.
bool GetJsonText(StringT<wchar_t>& target, Json::Value* root, const char* key);

// Setters. They make the node, whatever was there before, and are false where there is no root or
// the path leads nowhere.

bool SetJson(Json::Value value, Json::Value* root, const char* key);
bool SetJson(const StringT<char>& value, Json::Value* root, const char* key);
bool SetJson(const StringT<wchar_t>& value, Json::Value* root, const char* key);
// The value that a JSON text stands for; null where it is none.
bool SetJsonText(const StringT<wchar_t>& text, Json::Value* root, const char* key);

}  // namespace orn
