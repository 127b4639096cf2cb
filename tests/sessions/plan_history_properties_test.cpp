// Properties of undo for random sequences of changes and undos.
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/plan_history.h"

#include "tests/support/plan.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

enum class Step {
  add,
  rename,
  remove,
  setCapacity,
  propose,
  start,
  pause,
  skip,
  complete,
  changeGroups,
  undo,
  undoTo
};

struct Move {
  Step step;
  std::size_t which;  // of the tasks, or of the revisions
  MutationSource source;
};

rc::Gen<Move> anyMove() {
  return rc::gen::construct<Move>(
      rc::gen::element(Step::add, Step::add, Step::rename, Step::remove, Step::setCapacity,
                       Step::propose, Step::start, Step::start, Step::pause, Step::skip,
                       Step::complete, Step::changeGroups, Step::undo, Step::undo, Step::undoTo),
      rc::gen::inRange<std::size_t>(0, 100),
      rc::gen::element(MutationSource::user, MutationSource::agent));
}

// A plan, and a model of it: the plan of each revision, and the revisions that undos go through
// from each, the newest last.
class ModelledPlan {
 public:
  ModelledPlan() {
    plan_.save({});  // a document, of which the first change leaves a copy
    plans_[0] = Plan::of(state());
    chains_[0] = {0};
  }

  void make(const Move& move) {
    switch (move.step) {
      case Step::undo:
        return undo();
      case Step::undoTo:
        return undoTo(static_cast<std::int64_t>(move.which) % (revision() + 1));
      case Step::changeGroups:
        return plan_.localStore.updateAtomically(
            [&](PersistedState& state) { state.groups = {{.name = std::to_string(move.which)}}; });
      default:
        return change(move);
    }
  }

  bool canUndo() const { return chains_.at(revision()).size() > 1; }

  void undo() {
    if (!canUndo()) {
      const std::string before = plan_.bytes();
      try {
        history_.decideUndo();
        RC_FAIL("undid what is not there");
      } catch (const UndoError& error) {
        RC_ASSERT(error.which() == UndoCase::nothingToUndo);
      }
      RC_ASSERT(plan_.bytes() == before);
      return;
    }
    const auto& chain = chains_.at(revision());
    check(std::nullopt, chain[chain.size() - 2]);
  }

 private:
  PersistedState state() const { return plan_.localStore.load(); }
  std::int64_t revision() const { return plan_.revision(); }

  void change(const Move& move) {
    const std::int64_t before = revision();
    now_ = now_ + Duration(1);
    try {
      changePlan(move);
    } catch (const TaskSessionError&) {
      return;
    }
    chains_[revision()] = chains_.at(before);
    chains_[revision()].push_back(revision());
    plans_[revision()] = Plan::of(state());
  }

  void changePlan(const Move& move) {
    const auto edit = [&](auto change) {
      plan_.taskStore.transact({.expectedRevision = revision(),
                                .source = move.source,
                                .action = "task.update",
                                .now = now_},
                               change);
    };
    const auto tasks = state().tasks;
    const std::size_t index = tasks.empty() ? 0 : move.which % tasks.size();
    const auto editTask = [&](auto change) {
      edit([&](PersistedState& state) {
        if (!tasks.empty()) change(state.tasks, state.tasks.begin() + std::ptrdiff_t(index));
      });
    };
    switch (move.step) {
      case Step::add:
        return edit([](PersistedState& state) { state.tasks.push_back(test::makeTask("New")); });
      case Step::rename:
        return editTask([&](auto&, auto task) { task->title += "!"; });
      case Step::remove:
        return editTask([](auto& all, auto task) { all.erase(task); });
      case Step::setCapacity:
        return edit([&](PersistedState& state) {
          state.preferences.dailyCapacityMinutes = static_cast<std::int64_t>(move.which);
        });
      case Step::propose:
        return edit([](PersistedState& state) {
          state.proposals.push_back({.kind = ProposalKind::splitTask, .taskID = UUID::random()});
        });
      case Step::start:
        engine_.start(tasks.empty() ? UUID::random() : tasks[index].id, revision(), now_);
        return;
      case Step::pause:
        engine_.pause(revision(), now_);
        return;
      case Step::skip:
        engine_.skip(revision(), now_);
        return;
      default:
        engine_.complete(revision(), now_);
    }
  }

  void undoTo(std::int64_t target) {
    if (target == revision()) return;
    check(target, target);
  }

  void check(std::optional<std::int64_t> to, std::int64_t target) {
    const PersistedState before = state();
    const PlanUndo undo = history_.decideUndo(to);
    RC_ASSERT(undo.revision == target);
    RC_ASSERT(undo.present == Plan::of(before));
    history_.commitUndo(undo, now_);

    const PersistedState after = state();
    RC_ASSERT(after.revision == before.revision + 1);
    RC_ASSERT(after.groups == before.groups);
    RC_ASSERT(after.auditEvents.size() == before.auditEvents.size() + 1);
    checkPlan(plans_.at(target), Plan::of(before), Plan::of(after), undo.returning);
    plans_[after.revision] = Plan::of(after);
    chains_[after.revision] = chains_.at(target);
    chains_[after.revision].back() = after.revision;
  }

  // The plan is exactly the earlier one, except for a task that was active in it, and then the undo
  // says so.
  static void checkPlan(Plan expected, const Plan& before, const Plan& after,
                        const ReturningPlan& said) {
    RC_ASSERT(said.plan == after);
    std::size_t differing = 0;
    for (FocusTask& task : expected.tasks) {
      if (task.status != TaskStatus::active) continue;
      ++differing;
      const FocusTask* const present = findTask(before.tasks, task.id);
      if (present != nullptr && present->status == TaskStatus::active) {
        RC_ASSERT(said.activeTaskID == task.id);
        task.startedAt = present->startedAt;
        task.activeSegmentStartedAt = present->activeSegmentStartedAt;
        task.accumulatedFocusSeconds = present->accumulatedFocusSeconds;
      } else {
        RC_ASSERT(said.pausedTaskIDs == std::vector{task.id});
        task.status = TaskStatus::paused;
        task.activeSegmentStartedAt.reset();
      }
    }
    RC_ASSERT(after == expected);
    RC_ASSERT(said.pausedTaskIDs.size() + (said.activeTaskID ? 1 : 0) == differing);
  }

  test::StoredPlan plan_;
  PlanHistory history_{plan_.localStore, plan_.taskStore};
  TaskSessionEngine engine_{plan_.taskStore, Calendar{}};
  Instant now_ = test::someInstant;
  std::map<std::int64_t, Plan> plans_;
  std::map<std::int64_t, std::vector<std::int64_t>> chains_;
};

RC_GTEST_PROP(PlanHistoryProperties, eachUndoGivesBackThePlanBeforeTheNewestChange, ()) {
  std::optional<test::ScopedVariable> temporaryFolder;  // where syncing takes no time
  if (std::filesystem::is_directory("/dev/shm")) temporaryFolder.emplace("TMPDIR", "/dev/shm");
  const auto moves = *rc::gen::resize(25, rc::gen::container<std::vector<Move>>(anyMove()));
  ModelledPlan plan;
  for (const Move& move : moves) plan.make(move);
  while (plan.canUndo()) plan.undo();
  plan.undo();
}

}  // namespace
}  // namespace tarnwell
