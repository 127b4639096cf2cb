// Background jobs that run on request.
#pragma once

#include <deque>
#include <string>
#include <utility>

#include "tarnwell/watch/background_jobs.h"

namespace tarnwell::test {

class FakeJobs : public BackgroundJobs {
 public:
  void run(Job job, Done done) override {
    waiting.emplace_back(std::move(job), std::move(done));
    if (isQuick) finishNext();
  }

  void finishNext() {
    const auto [job, done] = std::move(waiting.front());
    waiting.pop_front();
    done(job());
  }

  bool isQuick = true;  // runs each at once
  std::deque<std::pair<Job, Done>> waiting;
};

}  // namespace tarnwell::test
