#include "tests/faults/fault_sweep.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/agent/engines.h"

#include "tests/faults/file_call_forms.h"

namespace tarnwell::test {
namespace {

std::vector<int> errorsFor(const Fault& fault, std::string_view call) {
  if (fault.kind == Fault::Kind::kill) return {0};
  if (fault.kind == Fault::Kind::shortCount) {
    return call == "read" || call == "write" ? std::vector{0} : std::vector<int>{};
  }
  auto errors = errorsOf(call);
  if (fault.isLasting) std::erase(errors, EINTR);  // what is interrupted for ever never ends
  return errors;
}

}  // namespace

std::string nameOf(Failing failing) {
  constexpr std::array names = {"failingOnce", "failingForGood", "comingUpShort", "killed"};
  return names.at(static_cast<std::size_t>(failing));
}

std::unique_ptr<Tool> HomesAhead::next(const std::function<std::unique_ptr<Tool>()>& make) {
  constexpr std::size_t ahead = 8;
  while (homes_.size() < ahead) homes_.push_back(make());
  auto tool = std::move(homes_.front());
  homes_.pop_front();
  tool->awaitSettledPlan();
  return tool;
}

void expectTheNextChangeToWork(const Tool& tool) {
  Engines engines(DataDirectory{tool.dataDirectory()});
  const std::int64_t revision = engines.taskStore.snapshot().revision();
  const auto reply = AgentCommandService(engines.agentParts())
                         .execute({.version = 1,
                                   .command = "tasks.create",
                                   .expectedRevision = revision,
                                   .payload = {{"title", "Next"}}},
                                  Instant::now());
  EXPECT_TRUE(reply.ok) << reply;
  EXPECT_EQ(reply.revision, revision + 1);
}

int FaultSweep::cases(Failing failing) const {
  switch (failing) {
    case Failing::once:
      return sweep({.kind = Fault::Kind::error});
    case Failing::forGood:
      return sweep({.kind = Fault::Kind::error, .isLasting = true});
    case Failing::halved:
      return sweep({.kind = Fault::Kind::shortCount}) +
             sweep({.kind = Fault::Kind::shortCount, .isLasting = true});
    case Failing::killed:
      return sweep({.kind = Fault::Kind::kill});
  }
  return 0;
}

int FaultSweep::sweep(Fault fault) const {
  int count = 0;
  const TracedRun undisturbed = run(std::nullopt);
  EXPECT_GT(undisturbed.calls.size(), 10U);
  EXPECT_THAT(undisturbed.unknownCalls, testing::IsEmpty());  // or they would be left out
  for (; fault.call < undisturbed.calls.size(); ++fault.call) {
    const auto& call = undisturbed.calls[fault.call];
    SCOPED_TRACE("call " + std::to_string(fault.call) + ": " + call.name + " " + call.path);
    for (const int error : errorsFor(fault, call.name)) {
      SCOPED_TRACE(error == 0 ? "" : strerrorname_np(error));
      fault.error = error;
      const TracedRun disturbed = run(fault);
      if (isRepeatable) {
        EXPECT_EQ(disturbed.calls.at(fault.call).name, call.name);
      }
      ++count;
      if (testing::Test::HasFailure()) return count;  // one is enough to look at
    }
  }
  return count;
}

}  // namespace tarnwell::test
