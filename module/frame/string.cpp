#include "module/frame/string.h"

#include <cstdlib>

#ifdef _WIN32
#include <mbstring.h>
#endif

namespace orn {

void FatalError() noexcept {
#ifdef _WIN32
  constexpr unsigned kFatalAppExit = 7;  // FAST_FAIL_FATAL_APP_EXIT
  __asm__ volatile("int $0x29" : : "c"(kFatalAppExit));
  __builtin_unreachable();
#else
  std::abort();
#endif
}

namespace {
// Strings exist before the first dynamic initializer runs.
constinit StringMemMgr string_mem_mgr;
}  // namespace

StringMemMgr& StringMemMgr::Instance() noexcept {
  return string_mem_mgr;
}

void* StringMemMgr::Allocate(size_t size) {
  return std::malloc(size);
}

void* StringMemMgr::Reallocate(void* block, size_t size) {
  return std::realloc(block, size);
}

void StringMemMgr::Free(void* block) {
  std::free(block);
}

void StringMemMgr::Released() {}

bool MbsLess::operator()(const StringT<char>& a, const StringT<char>& b) const noexcept {
#ifdef _WIN32
  return _mbscmp(reinterpret_cast<const unsigned char*>(a.c_str()),
                 reinterpret_cast<const unsigned char*>(b.c_str())) < 0;
#else
  return std::strcmp(a.c_str(), b.c_str()) < 0;
#endif
}

template class StringT<char>;
template class StringT<wchar_t>;

}  // namespace orn
