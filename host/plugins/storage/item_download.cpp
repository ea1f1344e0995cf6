#include "host/plugins/storage/item_download.h"

#include "host/plugins/storage/redirect.h"
#include "host/plugins/storage/response_record.h"
#include "host/plugins/storage/transfer_errors.h"

namespace host::storage {

namespace {

constexpr int32_t kOk = 200;
constexpr int32_t kPartialContent = 206;
// What brings the file so much farther was no failure.
constexpr uint64_t kProgress = 64 * 1024;

}  // namespace

ItemDownload::ItemDownload(const Profile& profile, const std::wstring& headers,
                           const TransferLimits& limits, TransferControl& control,
                           orn::RemoteAccess::HttpResponse& response)
    : profile_(profile),
      headers_(headers),
      limits_(limits),
      control_(control),
      response_(response),
      address_(profile.address) {}

uint32_t ItemDownload::Run(std::string_view name, const orn::PathStringT<260>& to, int attempts) {
  if (const uint32_t code = ResolveTarget(to, name, target_); code != 0) return code;
  address_.path += L'/' + link::EncodePercent(name);
  // A file that begins anew each time makes progress only beyond what an earlier one brought, or
  // connections that break here and there would be tried for ever.
  uint64_t farthest = 0;
  for (int failures = 0;;) {
    const uint32_t code = Attempt();
    if (code == 0) return file_.MoveIntoPlace();
    if (!IsConnectionFailure(code) && !cut_short_) return code;
    if (received_ > farthest + kProgress) {
      farthest = received_;
      failures = 0;
    }
    if (++failures >= attempts) return code;
    if (!control_.Pause(limits_.pause * (1 << (failures - 1)))) return control_.Ended();
  }
}

uint32_t ItemDownload::Attempt() {
  cut_short_ = false;
  std::wstring headers = headers_;
  if (received_ != 0 && !validator_.empty()) {
    headers +=
        L"Range: bytes=" + std::to_wstring(received_) + L"-\r\nIf-Range: " + validator_ + L"\r\n";
  }
  link::ServerAddress address = address_;
  for (int redirects = 0;; ++redirects) {
    HttpRequest request(control_, limits_.stall);
    ResponseHead head;
    if (const uint32_t code = request.Send(L"GET", address, headers); code != 0) return code;
    if (const uint32_t code = request.Receive(head); code != 0) {
      // A connection that ends before its answer looks like one with a damaged answer.
      cut_short_ = code == kInvalidData;
      return code;
    }
    if (IsRedirect(head.status) && redirects < kMostRedirects) {
      if (const auto next = FollowRedirect(address, head.location)) {
        address = *next;
        continue;
      }
    }
    return Take(request, head);
  }
}

uint32_t ItemDownload::Take(HttpRequest& request, const ResponseHead& head) {
  response_ = MakeResponseRecord(head, /*body=*/{});
  if (const uint32_t code = TakeHead(head); code != 0) {
    if (head.status >= 300) response_ = MakeResponseRecord(head, ReadResponseBody(request));
    return code;
  }
  return TakeBody(request);
}

uint32_t ItemDownload::TakeHead(const ResponseHead& head) {
  if (head.status == kPartialContent && received_ != 0) {
    const std::wstring expected = L"bytes " + std::to_wstring(received_) + L'-' +
                                  std::to_wstring(total_ - 1) + L'/' + std::to_wstring(total_);
    return head.content_range == expected ? 0 : kInvalidData;
  }
  if (head.status != kOk) return CodeOfStatus(head.status);
  // Without its length a file that broke off could not be told from a whole one.
  if (head.content_length < 0) return kInvalidData;
  total_ = static_cast<uint64_t>(head.content_length);
  if (total_ > profile_.max_size) return kTooLarge;
  // A weak one ("W/...") does not promise the same bytes.
  validator_ = head.etag.starts_with(L'"') ? head.etag : std::wstring();
  received_ = 0;
  return file_.is_open() ? file_.Clear() : file_.Create(target_, total_);
}

uint32_t ItemDownload::TakeBody(HttpRequest& request) {
  while (received_ < total_) {
    std::string_view piece;
    if (const uint32_t code = request.Read(piece); code != 0) return code;
    if (piece.empty() || piece.size() > total_ - received_) {
      cut_short_ = piece.empty();
      return kInvalidData;
    }
    if (const uint32_t code = file_.Write(piece); code != 0) return code;
    received_ += piece.size();
  }
  return 0;
}

}  // namespace host::storage
