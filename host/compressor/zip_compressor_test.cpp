// Through the export of the real 7z.dll. The archives are read back by libzip.

#include <gtest/gtest.h>
#include <zip.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>

#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"
#include "module/platform/compressor.h"

namespace {

struct Entry {
  std::string contents;
  zip_uint16_t encryption = 0;
  time_t modified = 0;
  zip_uint32_t attributes = 0;
};

orn::ICompressor* Create(uint32_t type) {
  static const HMODULE library = LoadLibraryW(L"7z.dll");
  return reinterpret_cast<orn::OrnCreateCompressorFunction>(
      reinterpret_cast<void*>(GetProcAddress(library, orn::kCreateCompressorName)))(type);
}

class ZipCompressor : public testing::Test {
 protected:
  ZipCompressor() { compressor_->SetMode(orn::kDeflateNormal); }
  ~ZipCompressor() override { compressor_->Release(); }

  bool Add(const wchar_t* name, const wchar_t* archive_name) {
    return compressor_->AddFile((folder_ / name).c_str(), archive_name);
  }
  bool Compress() {
    compressor_->SetArchivePath((folder_ / L"a.zip").c_str());
    return compressor_->Compress();
  }

  // By name; what cannot be read has the contents "?".
  std::map<std::string, Entry> Read(const char* password = nullptr) const {
    std::map<std::string, Entry> entries;
    const std::wstring path = folder_ / L"a.zip";
    zip_source_t* const source = zip_source_win32w_create(path.c_str(), 0, -1, nullptr);
    zip_t* const archive = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
    EXPECT_NE(archive, nullptr);
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
      const auto index = static_cast<zip_uint64_t>(i);
      zip_stat_t stat;
      zip_stat_index(archive, index, 0, &stat);
      Entry& entry = entries[stat.name];
      entry = {.contents = std::string(stat.size, '?'),
               .encryption = stat.encryption_method,
               .modified = stat.mtime};
      zip_uint8_t system = 0;
      zip_file_get_external_attributes(archive, index, 0, &system, &entry.attributes);
      zip_file_t* const file = zip_fopen_index_encrypted(archive, index, 0, password);
      if (file == nullptr ||
          zip_fread(file, entry.contents.data(), stat.size) !=
              static_cast<zip_int64_t>(stat.size) ||
          zip_fclose(file) != 0) {
        entry.contents = "?";
      }
    }
    zip_discard(archive);
    return entries;
  }

  const TestFolder folder_;
  orn::ICompressor* const compressor_ = Create(orn::kZipArchive);
};

TEST_F(ZipCompressor, KeepsNamesContentsTimesAndAttributesOfFilesThatOthersHaveOpen) {
  EXPECT_EQ(Create(orn::kZipArchive + 1), nullptr);
  folder_.Write(L"a.txt", std::string(100'000, 'a'));
  folder_.Write(L"\u0416\U0001F600.bin", "unicode");
  folder_.Write(L"empty", "");
  const orn::UniqueFile user(CreateFileW(
      (folder_ / L"a.txt").c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
  const FILETIME time = {.dwLowDateTime = 0, .dwHighDateTime = 30'000'000};
  SetFileTime(user.get(), nullptr, nullptr, &time);
  SetFileAttributesW((folder_ / L"a.txt").c_str(), FILE_ATTRIBUTE_READONLY);

  EXPECT_TRUE(Add(L"a.txt", L"Users\\x\\a.txt"));
  EXPECT_TRUE(Add(L"empty", L"Users\\x\\A.TXT")) << "two drives may have the same names";
  EXPECT_TRUE(Add(L"empty", L"Users\\x\\a.txt"));
  EXPECT_TRUE(Add(L"\u0416\U0001F600.bin", L"\\\\\u0416\U0001F600.bin"));
  EXPECT_TRUE(Add(L"empty", L"x\\..\\..\\.\\up"));
  EXPECT_TRUE(Add(L"empty", L"C:/a\x1?\\"));
  EXPECT_FALSE(Add(L"missing", L"missing"));
  EXPECT_FALSE(Add(L"", L"folder"));
  EXPECT_FALSE(Add(L"empty", L"\\.."));
  EXPECT_TRUE(Compress());

  const auto entries = Read();
  EXPECT_EQ(entries.size(), 6u);
  EXPECT_TRUE(entries.contains("up") && entries.contains("C_/a__"));
  const Entry& file = entries.at("Users/x/a.txt");
  EXPECT_EQ(file.contents, std::string(100'000, 'a'));
  EXPECT_EQ(file.attributes & FILE_ATTRIBUTE_READONLY, DWORD{FILE_ATTRIBUTE_READONLY});
  EXPECT_NEAR(static_cast<double>(file.modified), 30e6 * 4294967296.0 / 1e7 - 11644473600, 2);
  EXPECT_EQ(file.encryption, ZIP_EM_NONE);
  EXPECT_EQ(entries.at("Users/x/A (2).TXT").contents, "");
  EXPECT_EQ(entries.at("Users/x/a (3).txt").contents, "");
  EXPECT_EQ(entries.at(orn::ToUtf8(L"\u0416\U0001F600.bin").c_str()).contents, "unicode");
}

TEST_F(ZipCompressor, PasswordEncryptsEachFileWithAes256) {
  folder_.Write(L"a.txt", "secret secret secret secret");
  folder_.Write(L"empty", "");
  compressor_->SetPassword(L"p\u00E4ss");
  EXPECT_TRUE(Add(L"a.txt", L"a.txt"));
  EXPECT_TRUE(Add(L"empty", L"empty"));
  EXPECT_TRUE(Compress());
  const auto entries = Read("p\xC3\xA4ss");
  EXPECT_EQ(entries.at("a.txt").contents, "secret secret secret secret");
  EXPECT_EQ(entries.at("a.txt").encryption, ZIP_EM_AES_256);
  EXPECT_EQ(entries.at("empty").contents, "");
  EXPECT_EQ(Read("pass").at("a.txt").contents, "?");
}

TEST_F(ZipCompressor, FileThatGrowsAndShrinksMeanwhileGivesASoundArchive) {
  folder_.Write(L"log", std::string(4'000'000, 'x'));
  std::atomic<bool> done{false};
  std::jthread user([&] {
    const orn::UniqueFile file(CreateFileW((folder_ / L"log").c_str(), GENERIC_WRITE,
                                           FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    for (LONG size = 0; !done; size = (size + 700'000) % 8'000'000) {
      SetFilePointer(file.get(), size, nullptr, FILE_BEGIN);
      SetEndOfFile(file.get());
    }
  });
  for (int i = 0; i < 30; ++i)
    EXPECT_TRUE(Add(L"log", L"log"));
  EXPECT_TRUE(Compress());
  done = true;
  const auto entries = Read();
  EXPECT_EQ(entries.size(), 30u);
  for (const auto& [name, entry] : entries)
    EXPECT_NE(entry.contents, "?") << name;
}

TEST_F(ZipCompressor, ArchiveOfNothingAndThoseThatCannotBeWrittenOrMayNotAnyMore) {
  EXPECT_FALSE(compressor_->Compress()) << "it has no path";
  EXPECT_TRUE(Compress());
  EXPECT_TRUE(Read().empty());
  compressor_->SetArchivePath((folder_ / L"missing\\a.zip").c_str());
  folder_.Write(L"a", "x");
  EXPECT_TRUE(Add(L"a", L"a"));
  EXPECT_FALSE(compressor_->Compress());
  compressor_->Abort();
  EXPECT_FALSE(Add(L"a", L"b"));
  EXPECT_FALSE(Compress());
}

}  // namespace
