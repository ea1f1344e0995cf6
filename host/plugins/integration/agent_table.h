#pragma once

#include <functional>
#include <vector>

#include "host/common/sync.h"
#include "module/platform/endpoint_integration.h"

namespace host::integration {

// The agents that have registered. Any thread; an agent is called with no lock held.
class AgentTable {
 public:
  // False where the agent is null or here already.
  bool Add(EnterpriseIntegration::IAgent* agent);
  // Returns when nobody uses the agent any more; so not to be called by who does.
  void Remove(EnterpriseIntegration::IAgent* agent);

  using Use = std::function<void(EnterpriseIntegration::IAgent&)>;
  // False where there is none.
  bool WithFirst(const Use& use) { return WithAtMost(1, use) != 0; }
  void WithEach(const Use& use) { WithAtMost(SIZE_MAX, use); }

 private:
  size_t WithAtMost(size_t count, const Use& use);

  Mutex mutex_;
  Condition unused_;
  std::vector<EnterpriseIntegration::IAgent*> agents_;  // in the order in which they came
  std::vector<EnterpriseIntegration::IAgent*> in_use_;  // once for each use
};

}  // namespace host::integration
