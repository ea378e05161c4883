#include "launchctl/Launchctl.h"

#include "launchctl/AgentFile.h"
#include "launchctl/AgentProcess.h"
#include "launchctl/Lock.h"
#include "launchctl/Registration.h"

namespace quorvin::launchctl {

void bootstrap(const std::filesystem::path& file, const Surroundings& surroundings) {
  const Lock lock(surroundings.stateFolder);
  const auto agent = readAgentFile(file);
  const Registration registration(agent.label, surroundings);
  registration.requireFreePlaces();
  if (registration.isComplete()) {
    throw Failure(agent.label + " is registered already; boot it out first");
  }
  // What an earlier try has left, that was cut short.
  if (registration.hasTraces()) registration.remove();
  registration.add(agent);
}

void bootout(const std::filesystem::path& file, const Surroundings& surroundings) {
  const auto label = labelOfAgentFile(file);
  if (!label) {
    throw Failure(ExitStatus::noSuchAgent,
                  "neither the content nor the name of " + file.string() +
                      " says which agent it is about; name the file LABEL.plist");
  }
  const Registration registration(*label, surroundings);
  if (!registration.hasTraces()) {
    throw Failure(ExitStatus::noSuchAgent,
                  *label + " is not registered, so there is nothing to do");
  }
  const Lock lock(surroundings.stateFolder);
  registration.remove();
}

void run(const std::string& label, const std::vector<std::string>& program,
         const Surroundings& surroundings) {
  const Lock lock(surroundings.stateFolder);
  const AgentProcess process(processRecord(label, surroundings));
  if (!process.isRunning()) process.become(program);
}

}  // namespace quorvin::launchctl
