#include "host/plugins/integration/agent_table.h"

#include <algorithm>

#include "module/frame/scope_guard.h"

namespace host::integration {

using EnterpriseIntegration::IAgent;

bool AgentTable::Add(IAgent* agent) {
  const Lock lock(mutex_);
  if (agent == nullptr || std::ranges::find(agents_, agent) != agents_.end()) return false;
  agents_.push_back(agent);
  return true;
}

void AgentTable::Remove(IAgent* agent) {
  Lock lock(mutex_);
  std::erase(agents_, agent);
  unused_.Wait(lock, [&] { return std::ranges::find(in_use_, agent) == in_use_.end(); });
}

size_t AgentTable::WithAtMost(size_t count, const Use& use) {
  std::vector<IAgent*> agents;
  {
    const Lock lock(mutex_);
    agents.assign(agents_.begin(),
                  agents_.begin() + static_cast<ptrdiff_t>(std::min(count, agents_.size())));
    in_use_.insert(in_use_.end(), agents.begin(), agents.end());
  }
  const orn::ScopeGuard end_use([&] {
    const Lock lock(mutex_);
    for (IAgent* const agent : agents)
      in_use_.erase(std::ranges::find(in_use_, agent));
    unused_.NotifyAll();
  });
  for (IAgent* const agent : agents)
    use(*agent);
  return agents.size();
}

}  // namespace host::integration
