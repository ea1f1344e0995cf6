#pragma once

#include <cstdlib>
#include <ctime>

namespace orn::RemoteAccess::Console {

// Local time is UTC meanwhile.
struct Utc {
  Utc() { Set("TZ=UTC0"); }
  Utc(const Utc&) = delete;
  Utc& operator=(const Utc&) = delete;
  ~Utc() { Set("TZ="); }

 private:
  static void Set(const char* variable) {
    _putenv(variable);
    _tzset();
  }
};

}  // namespace orn::RemoteAccess::Console
