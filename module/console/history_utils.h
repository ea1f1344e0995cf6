#pragma once

#include <cstdint>

#include "module/platform/history.h"

// Records of the history as numbers, and back.
namespace HistoryUtils {

// The data of a record, whose values are texts under numbers.
struct EventDataWrapper : IHistory::Event::Data {
  // False where the text is absent or does not begin with a number.
  static bool Read(const IHistory::Event::Data& data, int32_t key, int32_t* value);
  static bool Read(const IHistory::Event::Data& data, int32_t key, int64_t* value);
  // Replaces what is there.
  bool Write(int32_t key, const orn::StringT<wchar_t>& value);
  bool Write(int32_t key, int64_t value);
};

// One kind of event: the data and what it means. The order of the operations is binary contract.
// One thread at a time, but for reading.
class EventDecoderBase : public EventDataWrapper {
 public:
  virtual ~EventDecoderBase() = default;

  virtual const wchar_t* GetFeatureName() const = 0;
  virtual int32_t GetEventId() const = 0;
  virtual int32_t GetEventVersion() const = 0;

  virtual bool ReadEventId(const IHistory::Event::Data& data, int32_t* id) const;
  virtual bool ReadEventVersion(const IHistory::Event::Data& data, int32_t* version) const;
  virtual bool WriteEventId();
  virtual bool WriteEventVersion();

  // Fills the object. False where the record is of another kind or incomplete; the object may have
  // taken a part of it then.
  virtual bool Decode(const wchar_t* feature, const IHistory::Event::Data& data) = 0;
  // Writes what the object means into its data. May be repeated.
  virtual bool Encode();
  // Whether the record is of this kind. `feature` may be null.
  virtual bool Matches(const wchar_t* feature, const IHistory::Event::Data& data) const;
  virtual void Assign(const IHistory::Event::Data& data);
  virtual bool SetText(const wchar_t* value);
  // Encodes and adds the record. False where the history is null or refuses it.
  virtual bool Send(IHistory* history);
};

}  // namespace HistoryUtils
