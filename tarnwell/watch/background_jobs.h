// Work alongside the event loop that may take long, such as waiting for a prompt.
#pragma once

#include <functional>
#include <string>

namespace tarnwell {

class BackgroundJobs {
 public:
  // Returns the problem, for the user; empty on success. Runs in another process: its changes in
  // memory are lost.
  using Job = std::function<std::string()>;
  using Done = std::function<void(const std::string& problem)>;

  BackgroundJobs() = default;
  BackgroundJobs(const BackgroundJobs&) = delete;
  BackgroundJobs& operator=(const BackgroundJobs&) = delete;
  virtual ~BackgroundJobs() = default;

  // Runs the jobs one at a time, in the order of the calls, and calls `done` on the loop's thread.
  virtual void run(Job job, Done done) = 0;
};

}  // namespace tarnwell
