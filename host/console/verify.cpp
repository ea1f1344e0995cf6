#include "host/console/verify.h"

#include "host/history/verify_history.h"
#include "host/service/report.h"

namespace host::console {

int TellVerification(const std::wstring& file) {
  using Finding = history::Verification::Finding;
  const history::Verification result = history::VerifyHistory(file);
  const std::wstring records = std::to_wstring(result.records);
  const std::wstring bad =
      L"Record " + std::to_wstring(result.first_bad) + L" of the history " + file + L" was ";
  switch (result.finding) {
    case Finding::kIntact:
      ReportProgress(L"The history " + file + L" is intact: " + records + L" records." +
                     (result.anchored ? L""
                                      : L" This machine does not know its last record, so that "
                                        L"records may have been removed at its end."));
      return 0;
    case Finding::kChanged:
      ReportError(bad + L"changed. It has " + records + L" records.");
      return 1;
    case Finding::kRemoved:
      ReportError(bad + L"removed. It has " + records + L" records.");
      return 1;
    case Finding::kUnreadable:
      break;
  }
  ReportError(L"The history " + file + L" cannot be read: " + DescribeCode(result.status));
  return 2;
}

}  // namespace host::console
