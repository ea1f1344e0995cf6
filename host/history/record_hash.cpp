#include "host/history/record_hash.h"

namespace host::history {

RecordHash::RecordHash() {
  BCRYPT_ALG_HANDLE provider = nullptr;
  BCRYPT_HASH_HANDLE hash = nullptr;
  if (BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, /*implementation=*/nullptr,
                                  BCRYPT_HASH_REUSABLE_FLAG) != 0) {
    return;
  }
  provider_.reset(provider);
  if (BCryptCreateHash(provider, &hash, /*object=*/nullptr, /*object_size=*/0, /*secret=*/nullptr,
                       /*secret_size=*/0, BCRYPT_HASH_REUSABLE_FLAG) == 0) {
    hash_.reset(hash);
  }
}

bool RecordHash::Compute(const Hash& previous, std::string_view record, Hash& hash) {
  const auto add = [this](const void* bytes, size_t size) {
    // The parameter is not const, and nothing is written to it.
    return BCryptHashData(hash_.get(), static_cast<UCHAR*>(const_cast<void*>(bytes)),
                          static_cast<ULONG>(size), /*flags=*/0) == 0;
  };
  return hash_ != nullptr && add(previous.data(), previous.size()) &&
         add(record.data(), record.size()) &&
         BCryptFinishHash(hash_.get(), hash.data(), static_cast<ULONG>(hash.size()),
                          /*flags=*/0) == 0;
}

}  // namespace host::history
