// Runs background jobs in child processes.
#pragma once

#include <deque>
#include <optional>
#include <string>

#include <sys/types.h>

#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/watch/background_jobs.h"
#include "tarnwell/watch/event_loop.h"

namespace tarnwell {

// A process rather than a thread: it can be killed at any moment, together with its prompt; its
// memory goes with it; and this process stays free of threads, so that a plain `fork` is safe. The
// plan survives the end of a process at any moment.
//
// Belongs to the loop's thread. On destruction the running job is killed with its children; on
// Linux also when this process is killed.
class JobProcess : public BackgroundJobs {
 public:
  JobProcess() = default;
  JobProcess(const JobProcess&) = delete;
  JobProcess& operator=(const JobProcess&) = delete;
  ~JobProcess() override;

  void run(Job job, Done done) override;

  Awaited awaited() const { return {.descriptor = result_.number()}; }
  void ready();

 private:
  struct Request {
    Job job;
    Done done;
  };

  void startNext();
  void finish();

  std::deque<Request> requests_;  // the first one is running
  std::optional<pid_t> child_;
  FileDescriptor result_{-1};  // of the pipe on which the child reports
  std::string report_;
};

}  // namespace tarnwell
