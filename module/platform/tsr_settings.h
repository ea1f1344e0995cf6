#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"

// The agent's store of persisted settings. A key ("RemoteAccess/enabled") opens a node, whose
// values have names; the empty name is the node's own value. The order of the operations is binary
// contract.
struct ITsrSettings {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{A1A3677F-C7A6-4ED6-A743-7BACBCFD0D41}");
  static constexpr const wchar_t* kTypeName = L"ITsrSettings";

  struct IValue {
    // False where the value is not there or is no bool; `*value` is untouched then.
    virtual bool GetBool(bool* value) = 0;
    virtual void SetBool(bool value) = 0;
    virtual void Release() = 0;

   protected:
    ~IValue() = default;
  };

  struct INode {
    // 0 where the node was read; the store's code otherwise.
    virtual uint32_t GetFailure() = 0;
    // Null where there is no such value. Given back by its Release, before the node's.
    virtual IValue* GetValue(const wchar_t* name) = 0;
    virtual void Release() = 0;

   protected:
    ~INode() = default;
  };

  // Null on failure. Given back by Release.
  virtual INode* OpenForRead(const wchar_t* key, uint32_t options) = 0;
  virtual INode* OpenForWrite(const wchar_t* key) = 0;
  // Makes what was set on `node` durable. Returns a status, 0 for success.
  virtual uint32_t Store(INode* node, const wchar_t* key, uint32_t options, uint32_t flush) = 0;

 protected:
  ~ITsrSettings() = default;
};
