#include "host/plugins/storage/http_request.h"

#include <algorithm>
#include <utility>

#include "host/plugins/storage/transfer_errors.h"
#include "module/frame/utf.h"

namespace host::storage {

namespace {

constexpr DWORD kMostReadBytes = 256 * 1024;
constexpr std::chrono::milliseconds kFast{20};

// A length of up to 18 digits; -1 for anything else.
int64_t ParseLength(const std::wstring& text) {
  if (text.empty() || text.size() > 18) return -1;
  int64_t length = 0;
  for (const wchar_t digit : text) {
    if (digit < L'0' || digit > L'9') return -1;
    length = length * 10 + (digit - L'0');
  }
  return length;
}

}  // namespace

HttpRequest::HttpRequest(TransferControl& control, std::chrono::milliseconds stall_limit)
    : control_(control),
      stall_limit_(stall_limit),
      operations_(
          std::make_shared<link::WinHttpOperations>(link::WinHttpOperations::Reads::kResponse)) {
  control_.SetOperations(operations_);
}

HttpRequest::~HttpRequest() {
  control_.SetOperations(nullptr);
}

uint32_t HttpRequest::Open(const wchar_t* method, const link::ServerAddress& address) {
  // A proxy has no business between this machine and itself.
  const DWORD access =
      address.IsLoopback() ? WINHTTP_ACCESS_TYPE_NO_PROXY : WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY;
  session_.reset(WinHttpOpen(L"RemoteAccess", access, WINHTTP_NO_PROXY_NAME,
                             WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC));
  if (session_ == nullptr) return GetLastError();
  WinHttpSetStatusCallback(session_.get(), &link::WinHttpOperations::OnStatus,
                           WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES,
                           /*dwReserved=*/0);
  connection_.reset(
      WinHttpConnect(session_.get(), address.host.c_str(), address.port, /*dwReserved=*/0));
  if (connection_ == nullptr) return GetLastError();
  request_.reset(WinHttpOpenRequest(
      connection_.get(), method, address.path.empty() ? L"/" : address.path.c_str(),
      /*pwszVersion=*/nullptr, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
      address.secure ? WINHTTP_FLAG_SECURE : 0));
  if (request_ == nullptr) return GetLastError();

  // The credentials go to the server that was named and nowhere else. A connection is used once, so
  // that what is left of a response that was given up never meets the next one.
  DWORD disabled = WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES |
                   WINHTTP_DISABLE_AUTHENTICATION | WINHTTP_DISABLE_KEEP_ALIVE;
  WinHttpSetOption(request_.get(), WINHTTP_OPTION_DISABLE_FEATURE, &disabled, sizeof(disabled));
  const int limit = static_cast<int>(stall_limit_.count());
  WinHttpSetTimeouts(request_.get(), /*nResolveTimeout=*/limit, /*nConnectTimeout=*/limit,
                     /*nSendTimeout=*/limit, /*nReceiveTimeout=*/limit);
  DWORD response_limit = static_cast<DWORD>(limit);
  WinHttpSetOption(request_.get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &response_limit,
                   sizeof(response_limit));
  return 0;
}

uint32_t HttpRequest::Send(const wchar_t* method, const link::ServerAddress& address,
                           const std::wstring& headers) {
  if (const uint32_t code = control_.Ended(); code != 0) return code;
  if (const uint32_t code = Open(method, address); code != 0) return code;

  DWORD_PTR context = operations_->NewContext();
  if (!WinHttpSetOption(request_.get(), WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof(context))) {
    const DWORD failure = GetLastError();
    link::WinHttpOperations::DropContext(context);
    return failure;
  }
  operations_->Begin(Step::kRequestSent);
  return Finish(
      Step::kRequestSent,
      WinHttpSendRequest(request_.get(), headers.c_str(), static_cast<DWORD>(headers.size()),
                         WINHTTP_NO_REQUEST_DATA,
                         /*dwOptionalLength=*/0, WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH, context));
}

uint32_t HttpRequest::Write() {
  operations_->Begin(Step::kWritten);
  const std::string& body = operations_->write_buffer;
  return Finish(Step::kWritten,
                WinHttpWriteData(request_.get(), body.data(), static_cast<DWORD>(body.size()),
                                 /*lpdwNumberOfBytesWritten=*/nullptr));
}

uint32_t HttpRequest::Receive(ResponseHead& head) {
  head = {};
  operations_->Begin(Step::kHeadersHere);
  const uint32_t code =
      Finish(Step::kHeadersHere, WinHttpReceiveResponse(request_.get(), /*lpReserved=*/nullptr));
  if (code != 0) return code;

  head.status = static_cast<int32_t>(ParseLength(Header(WINHTTP_QUERY_STATUS_CODE)));
  head.content_length = ParseLength(Header(WINHTTP_QUERY_CONTENT_LENGTH));
  head.content_type = orn::ToUtf8(Header(WINHTTP_QUERY_CONTENT_TYPE)).view();
  head.etag = Header(WINHTTP_QUERY_ETAG);
  head.content_range = Header(WINHTTP_QUERY_CONTENT_RANGE);
  head.location = Header(WINHTTP_QUERY_LOCATION);
  return head.status < 100 ? kInvalidData : 0;
}

// A read that asks for more than has come waits for all of it, and what has come is lost if the
// connection breaks meanwhile; under Wine it even waits inside the call unless what is here already
// was taken first. So each large read follows one of what is here, where that came fast.
uint32_t HttpRequest::Read(std::string_view& piece) {
  piece = {};
  if (const DWORD size = std::exchange(next_read_bytes_, 0); size != 0) {
    return ReadBytes(size, piece);
  }
  const Clock::time_point begin = Clock::now();
  operations_->Begin(Step::kDataHere);
  if (const uint32_t code =
          Finish(Step::kDataHere, WinHttpQueryDataAvailable(request_.get(), nullptr));
      code != 0) {
    return code;
  }
  const DWORD here = std::min(operations_->last_read().bytes, kMostReadBytes);
  if (here == 0) return 0;
  const uint32_t code = ReadBytes(here, piece);
  if (Clock::now() - begin < kFast) next_read_bytes_ = kMostReadBytes;
  return code;
}

uint32_t HttpRequest::ReadBytes(DWORD size, std::string_view& piece) {
  auto& buffer = operations_->read_buffer;
  if (buffer.size() < size) buffer.resize(size);
  operations_->Begin(Step::kRead);
  const uint32_t code = Finish(Step::kRead, WinHttpReadData(request_.get(), buffer.data(), size,
                                                            /*lpdwNumberOfBytesRead=*/nullptr));
  if (code == 0) piece = std::string_view(buffer.data(), operations_->last_read().bytes);
  return code;
}

uint32_t HttpRequest::Finish(Step step, bool started) {
  const DWORD failure = started ? 0 : GetLastError();
  if (started && operations_->Await(step, control_.deadline())) return 0;
  if (const uint32_t code = control_.Ended(); code != 0) return code;
  return CodeOfFailure(started ? operations_->failure() : failure);
}

std::wstring HttpRequest::Header(uint32_t header) const {
  DWORD size = 0;
  WinHttpQueryHeaders(request_.get(), header, WINHTTP_HEADER_NAME_BY_INDEX, nullptr, &size,
                      WINHTTP_NO_HEADER_INDEX);
  if (size == 0) return {};
  std::wstring value(size / sizeof(wchar_t), L'\0');
  if (!WinHttpQueryHeaders(request_.get(), header, WINHTTP_HEADER_NAME_BY_INDEX, value.data(),
                           &size, WINHTTP_NO_HEADER_INDEX)) {
    return {};
  }
  value.resize(size / sizeof(wchar_t));
  return value;
}

}  // namespace host::storage
