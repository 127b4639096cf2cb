// Work that may take long, as it does while a prompt is open, beside the event loop.
#pragma once

#include <functional>
#include <string>

namespace tarnwell {

class BackgroundJobs {
 public:
  // Returns what went wrong, for the user; nothing on success. Runs in another process: what it
  // changes in memory is lost.
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
