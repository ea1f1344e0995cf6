#include "host/plugins/storage/upload_transfer.h"

#include <algorithm>

#include "host/plugins/storage/redirect.h"
#include "host/plugins/storage/response_record.h"
#include "host/plugins/storage/transfer_errors.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/long_path.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host::storage {

namespace {

constexpr uint64_t kPieceBytes = 256 * 1024;

std::wstring_view FileName(std::wstring_view path) {
  return path.substr(path.find_last_of(L"\\/") + 1);
}

}  // namespace

UploadTransfer::UploadTransfer(const Profile& profile,
                               const orn::tsrsdk::Product::UploadRequest& request,
                               const TransferLimits& limits)
    : profile_(profile),
      limits_(limits),
      path_(request.items.at(0).path.view()),
      form_(MakeMultipart(request.postItems, orn::ToUtf8(FileName(path_)).view())) {
  metadata_.runContext = request.runContext;
  metadata_.centralizedStorage.profile = request.profile;
}

uint32_t UploadTransfer::Open() {
  if (path_.empty()) return error::kPathNotFound;
  file_.reset(CreateFileW(orn::LongPath(path_).c_str(), GENERIC_READ,
                          FILE_SHARE_READ | FILE_SHARE_DELETE,
                          /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                          FILE_FLAG_SEQUENTIAL_SCAN, /*hTemplateFile=*/nullptr));
  LARGE_INTEGER size = {};
  if (!file_ || !GetFileSizeEx(file_.get(), &size)) return GetLastError();
  size_ = static_cast<uint64_t>(size.QuadPart);
  return size_ > profile_.max_size ? kTooLarge : 0;
}

void UploadTransfer::Run(TransferControl& control) {
  const uint32_t code = Send(control);
  file_.reset();
  auto& result = metadata_.centralizedStorage;
  result.error = static_cast<int32_t>(code);
  result.reason = std::wstring_view(WordOf(code, result.httpResponse.responseCode));
  if (code != 0) {
    ORN_LOG(logging::kNotice, L"Product.CentralizedStorage::Upload",
            L"An upload to profile \"%s\" failed: %u", profile_.name.c_str(), code);
  }
}

uint32_t UploadTransfer::Send(TransferControl& control) {
  std::optional<std::wstring> headers = AccessHeaders(profile_, metadata_.runContext.view());
  if (!headers) {
    ORN_LOG(logging::kError, L"Product.CentralizedStorage::Upload",
            L"The secret of profile \"%s\" cannot be read.", profile_.name.c_str());
    return error::kDenied;
  }
  *headers += L"Content-Type: " +
              std::wstring(form_.content_type.begin(), form_.content_type.end()) +
              L"\r\nContent-Length: " +
              std::to_wstring(form_.head.size() + size_ + form_.tail.size()) + L"\r\n";
  for (int failures = 1;; ++failures) {
    bool is_sent = false;
    const uint32_t code = Attempt(control, *headers, is_sent);
    // What the storage may have kept is not sent a second time.
    if (code == 0 || is_sent || !IsConnectionFailure(code) || failures >= limits_.attempts) {
      return code;
    }
    if (!control.Pause(limits_.pause * (1 << (failures - 1)))) return control.Ended();
  }
}

uint32_t UploadTransfer::Attempt(TransferControl& control, const std::wstring& headers,
                                 bool& is_sent) {
  link::ServerAddress address = profile_.address;
  for (int redirects = 0;; ++redirects) {
    HttpRequest request(control, limits_.stall);
    if (const uint32_t code = request.Send(L"POST", address, headers); code != 0) return code;
    is_sent = true;
    const uint32_t sent = SendForm(request);
    if (const uint32_t ended = control.Ended(); ended != 0) return ended;
    // A storage that refuses may answer before it has read all, and read no more.
    if (sent != 0 && !IsConnectionFailure(sent)) return sent;
    ResponseHead head;
    if (const uint32_t code = request.Receive(head); code != 0) return sent != 0 ? sent : code;
    if (IsRedirectOfAnyMethod(head.status) && redirects < kMostRedirects) {
      if (const auto next = FollowRedirect(address, head.location)) {
        address = *next;
        continue;
      }
    }
    metadata_.centralizedStorage.httpResponse = MakeResponseRecord(head, ReadResponseBody(request));
    if (head.status < 200 || head.status >= 300) return CodeOfStatus(head.status);
    return sent;
  }
}

uint32_t UploadTransfer::SendForm(HttpRequest& request) {
  if (!SetFilePointerEx(file_.get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN)) return GetLastError();
  std::string& piece = request.body_buffer();
  piece = form_.head;
  if (const uint32_t code = request.Write(); code != 0) return code;
  for (uint64_t left = size_; left != 0; left -= piece.size()) {
    if (const uint32_t code = ReadFilePiece(left, piece); code != 0) return code;
    if (const uint32_t code = request.Write(); code != 0) return code;
  }
  piece = form_.tail;
  return request.Write();
}

uint32_t UploadTransfer::ReadFilePiece(uint64_t left, std::string& piece) {
  piece.resize(static_cast<size_t>(std::min(left, kPieceBytes)));
  DWORD read = 0;
  if (!ReadFile(file_.get(), piece.data(), static_cast<DWORD>(piece.size()), &read,
                /*lpOverlapped=*/nullptr)) {
    return GetLastError();
  }
  if (read != piece.size()) return ERROR_HANDLE_EOF;
  return 0;
}

void UploadTransfer::Report(ICentralizedStorage::IFileManagerEvent& observer,
                            const orn::StringT<wchar_t>& id) const {
  observer.OnUploadFinished(id, metadata_);
}

}  // namespace host::storage
