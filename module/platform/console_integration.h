#pragma once

#include <json/value.h>

#include <cstdint>

#include "module/frame/interface_id.h"
#include "module/frame/string.h"

// The main window of the machine's console, plug-in "Console.MainWindow": it calls methods of the
// features' agents and takes their events. The order of the operations is binary contract.
namespace ConsoleIntegration {

// One call of an agent's method.
struct IMethod {
  // Null where the call has none.
  virtual const wchar_t* GetName() = 0;
  virtual void Reserved1() = 0;
  virtual void Reserved2() = 0;
  // The value to fill; may be null.
  virtual Json::Value* GetResult() = 0;
  // Ends the call with a Windows code. Once.
  virtual void Complete(int32_t status) = 0;

 protected:
  ~IMethod() = default;
};

struct IAgent {
  virtual void GetName(orn::StringT<wchar_t>* name) = 0;
  // Called on the manager's thread.
  virtual void RunMethod(IMethod* method) = 0;

 protected:
  ~IAgent() = default;
};

// Any thread. Operations with a result return 0 for success.
struct IManager {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{31EAF862-F50D-4D8B-BC53-50EA79374BBA}");
  static constexpr const wchar_t* kTypeName = L"ConsoleIntegration::IManager";

  // `agent` is borrowed until Unregister has returned.
  virtual uint32_t Register(IAgent* agent) = 0;
  virtual uint32_t Unregister(IAgent* agent) = 0;
  virtual uint32_t SendEvent(const wchar_t* feature, const wchar_t* method,
                             const Json::Value& value) = 0;

 protected:
  ~IManager() = default;
};

}  // namespace ConsoleIntegration
