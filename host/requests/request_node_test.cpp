#include "host/requests/request_node.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/requests/exports.h"

namespace {

std::string Saved(const RequestNode& tree) {
  std::string saved(tree.SavedSize(), '\0');
  tree.Save(saved.data());
  return saved;
}

std::string Number(uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift != 32; shift += 8)
    bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

std::string Header(uint32_t count) {
  return Number(RequestNode::kMark) + Number(count);
}

std::string Parameter(uint32_t id, const std::string& bytes) {
  return Number(id) + Number(static_cast<uint32_t>(bytes.size())) + bytes;
}

TEST(RequestNode, ComesBackFromItsSavedForm) {
  RequestNode tree;
  EXPECT_EQ(tree.SavedSize(), 0u);
  ASSERT_TRUE(tree.Add(0x0302, "old"));
  ASSERT_TRUE(tree.Add(0xFFFFFFFF, std::string(300, '\xFF')));
  ASSERT_TRUE(tree.Add(0, {}));
  ASSERT_TRUE(tree.Add(0x0302, std::string_view("a\0b", 3)));
  const std::string saved = Saved(tree);
  EXPECT_EQ(saved, Header(3) + Parameter(0, "") + Parameter(0x0302, std::string("a\0b", 3)) +
                       Parameter(0xFFFFFFFF, std::string(300, '\xFF')));
  const auto loaded = RequestNode::Load(saved);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(Saved(*loaded), saved);
  EXPECT_EQ(*loaded->Find(0), "");
  EXPECT_EQ(loaded->Find(1), nullptr);

  const auto empty = RequestNode::Load({});
  ASSERT_TRUE(empty);
  EXPECT_EQ(Saved(*empty), "");
}

TEST(RequestNode, RefusesWhatIsNoSavedForm) {
  const std::string whole = Header(2) + Parameter(1, "one") + Parameter(2, "");
  ASSERT_TRUE(RequestNode::Load(whole));
  for (size_t size = 1; size != whole.size(); ++size) {
    // A block of exactly that size: a sanitizer sees a read behind it.
    const std::unique_ptr<char[]> cut(new char[size]);
    whole.copy(cut.get(), size);
    EXPECT_FALSE(RequestNode::Load({cut.get(), size})) << size;
  }
  for (const std::string& bytes : {
           whole + '\0',                                                      // Bytes left over.
           Header(0),                                                         // Nothing in it.
           Number(RequestNode::kMark + (1 << 24)) + whole.substr(4),          // Another version.
           Header(2) + Parameter(2, "") + Parameter(1, ""),                   // In disorder.
           Header(2) + Parameter(1, "") + Parameter(1, ""),                   // Twice the same.
           Header(0xFFFFFFFF) + Parameter(1, ""),                             // Too few.
           Header(1) + Number(1) + Number(0xFFFFFFFF) + std::string(9, 'x'),  // Too short.
       }) {
    EXPECT_FALSE(RequestNode::Load(bytes));
  }
}

TEST(RequestNode, HoldsNoMoreThanItsBounds) {
  RequestNode tree;
  std::string many = Header(RequestNode::kMaxParameters + 1);
  for (uint32_t id = 0; id != RequestNode::kMaxParameters; ++id) {
    EXPECT_TRUE(tree.Add(id, {}));
    many += Parameter(id, "");
  }
  many += Parameter(RequestNode::kMaxParameters, "");
  EXPECT_FALSE(tree.Add(RequestNode::kMaxParameters, {}));
  EXPECT_FALSE(RequestNode::Load(many));

  const size_t room = RequestNode::kMaxSize - tree.SavedSize();
  const std::string large(room + 1, 'x');
  EXPECT_FALSE(tree.Add(7, large));
  EXPECT_EQ(*tree.Find(7), "");
  EXPECT_TRUE(tree.Add(7, std::string_view(large).substr(1)));
  EXPECT_EQ(tree.SavedSize(), RequestNode::kMaxSize);
  EXPECT_FALSE(tree.Add(8, "x"));
  EXPECT_TRUE(tree.Add(7, "small"));
  EXPECT_TRUE(tree.Add(8, "x"));
}

TEST(RequestLibrary, FailuresTouchNothing) {
  RequestNode* root = nullptr;
  ASSERT_EQ(requestInitRoot(&root), 0u);
  EXPECT_EQ(requestAddParameter2(root, 1, nullptr, 0), 0u);
  EXPECT_EQ(requestAddParameter2(root, 1, nullptr, 1), 87u);
  const uint32_t value = 0x01020304;
  EXPECT_EQ(requestAddParameter(root, 2, &value), 0u);

  uint32_t out = 5;
  EXPECT_EQ(requestGetParameter(root, 1, &out, sizeof(out)), 87u);
  EXPECT_EQ(requestGetParameter(root, 2, &out, 2), 87u);
  EXPECT_EQ(requestGetParameter(root, 3, &out, sizeof(out)), 1168u);
  EXPECT_EQ(requestGetParameterSize(root, 3, &out), 1168u);
  EXPECT_EQ(out, 5u);
  EXPECT_EQ(requestGetParameter(root, 2, &out, sizeof(out)), 0u);
  EXPECT_EQ(out, value);
  const void* pointer = nullptr;
  EXPECT_EQ(requestGetPointerToParameter(root, 3, &pointer), 1168u);
  EXPECT_EQ(requestGetPointerToParameter(root, 1, &pointer), 0u);
  EXPECT_NE(pointer, nullptr);

  RequestNode* other = root;
  EXPECT_EQ(requestLoadTree(&other, "nonsense", 8), 13u);
  EXPECT_EQ(requestLoadTree(&other, nullptr, 8), 87u);
  EXPECT_EQ(other, root);
  EXPECT_EQ(requestFreeNode(root, 1, 1), 0u);
}

}  // namespace
