// A small program that builds with the installed library: adds a task to the plan in the given
// folder and prints what is then stored.
#include <filesystem>
#include <iostream>
#include <string>

#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"

int main(int, char** arguments) {
  const tarnwell::LocalStore document(std::filesystem::path(arguments[1]) / "state.json");
  tarnwell::TaskStore store(document);
  const auto task = tarnwell::FocusTask::make({.title = " Read the mail "});
  store.transact({.expectedRevision = store.snapshot().revision(),
                  .source = tarnwell::MutationSource::user,
                  .action = "task.create",
                  .taskID = task.id},
                 [&](tarnwell::PersistedState& state) { state.tasks.push_back(task); });
  const auto stored = document.load();
  std::cout << stored.tasks.front().title << ", revision " << stored.revision << ", without "
            << tarnwell::DomainRules::normalize("https://www.Example.com/news") << "\n";
}
