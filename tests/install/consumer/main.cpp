// Builds with the installed library: adds a task to the plan in the given folder and prints the
// stored plan.
#include <filesystem>
#include <iostream>
#include <string>

#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"

int main(int, char** arguments) {
  const tarnwell::LocalStore localStore(std::filesystem::path(arguments[1]) / "state.json");
  tarnwell::TaskStore taskStore(localStore);
  const auto task = tarnwell::FocusTask::make({.title = " Read the mail "});
  taskStore.transact({.expectedRevision = taskStore.snapshot().revision(),
                      .source = tarnwell::MutationSource::user,
                      .action = "task.create",
                      .taskID = task.id},
                     [&](tarnwell::PersistedState& state) { state.tasks.push_back(task); });
  const auto stored = localStore.load();
  std::cout << stored.tasks.front().title << ", revision " << stored.revision << ", without "
            << tarnwell::DomainRules::normalize("https://www.Example.com/news") << "\n";
}
