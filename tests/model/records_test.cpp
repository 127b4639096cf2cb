// The defaults of new records, their required members, and the order of their fields.
#include <concepts>
#include <tuple>

#include <gtest/gtest.h>

#include "tarnwell/model/audit_event.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/preferences.h"
#include "tarnwell/model/task.h"

#include "tests/support/builders.h"

namespace tarnwell {
namespace {

using test::someInstant;

// Longer than the tests take.
constexpr Duration aWhile = std::chrono::minutes(5);

void expectPresent(Instant instant) {
  EXPECT_LE(instant, Instant::now());
  EXPECT_GT(instant + aWhile, Instant::now());
}

TEST(MakingATask, suppliesAFreshIdentifierAndThePresentTime) {
  const FocusTask one = FocusTask::make({.title = "T"});
  const FocusTask other = FocusTask::make({.title = "T"});
  EXPECT_NE(one.id, other.id);
  expectPresent(one.createdAt);
  EXPECT_EQ(one.updatedAt, one.createdAt);
}

TEST(MakingATask, keepsGivenValues) {
  const UUID id = UUID::random();
  const FocusTask task = FocusTask::make(
      {.id = id, .title = "T", .createdAt = someInstant, .updatedAt = someInstant + aWhile});
  EXPECT_EQ(task.id, id);
  EXPECT_EQ(task.createdAt, someInstant);
  EXPECT_EQ(task.updatedAt, someInstant + aWhile);
}

TEST(MakingAnAuditEvent, suppliesAFreshIdentifierAndThePresentTime) {
  const auto make = [] {
    return TaskAuditEvent{.source = MutationSource::agent, .action = "task.create"};
  };
  EXPECT_NE(make().id, make().id);
  expectPresent(make().timestamp);
}

TEST(MakingAProposal, suppliesAFreshIdentifierAndThePresentTime) {
  const auto make = [] {
    return PlanningProposal{.kind = ProposalKind::splitTask, .taskID = UUID::random()};
  };
  EXPECT_NE(make().id, make().id);
  expectPresent(make().createdAt);
}

TEST(MakingABlockSession, suppliesAFreshIdentifier) {
  const auto make = [] {
    return BlockSession{.group = DomainGroup::socialDistractions(),
                        .mode = SessionMode::strict,
                        .startedAt = someInstant,
                        .endsAt = someInstant + aWhile};
  };
  EXPECT_NE(make().id, make().id);
}

TEST(MakingAGroup, suppliesFreshIdentifiersForItAndItsRules) {
  const auto make = [] { return DomainGroup{.name = "G", .rules = {{.domain = "example.com"}}}; };
  EXPECT_NE(make().id, make().id);
  EXPECT_NE(make().rules.front().id, make().rules.front().id);
}

// Members without a sensible default are required.

template <class T>
concept MadeWithoutSource = requires {
  T{.action = "x"};
};
static_assert(!MadeWithoutSource<TaskAuditEvent>);

template <class T>
concept MadeWithoutMode = requires {
  T{.startedAt = someInstant, .endsAt = someInstant};
};
static_assert(!MadeWithoutMode<BlockSession>);

template <class T>
concept MadeWithoutEnd = requires {
  T{.mode = SessionMode::strict, .startedAt = someInstant};
};
static_assert(!MadeWithoutEnd<BlockSession>);

template <class T>
concept MadeWithoutTask = requires {
  T{.kind = ProposalKind::splitTask};
};
static_assert(!MadeWithoutTask<PlanningProposal>);

// Reading initialises the members of a record in the order of its fields.
template <Record T>
void expectFieldsInDeclarationOrder(const T& record) {
  std::apply(
      [&](const auto&... field) {
        const void* last = nullptr;
        const auto follows = [&](const void* member) {
          return std::less<>()(std::exchange(last, member), member);
        };
        EXPECT_TRUE((follows(&(record.*field.member)) && ...));
      },
      T::fields());
}

TEST(Records, listTheirFieldsInDeclarationOrder) {
  expectFieldsInDeclarationOrder(LocalDay{});
  expectFieldsInDeclarationOrder(TaskReminder{});
  expectFieldsInDeclarationOrder(test::makeTask("T"));
  expectFieldsInDeclarationOrder(
      TaskAuditEvent{.source = MutationSource::agent, .action = "task.create"});
  expectFieldsInDeclarationOrder(DomainRule{});
  expectFieldsInDeclarationOrder(DomainGroup{});
  expectFieldsInDeclarationOrder(BlockSession{
      .group = {}, .mode = SessionMode::strict, .startedAt = someInstant, .endsAt = someInstant});
  expectFieldsInDeclarationOrder(
      PlanningProposal{.kind = ProposalKind::splitTask, .taskID = UUID::random()});
  expectFieldsInDeclarationOrder(ProductivityPreferences{});
}

}  // namespace
}  // namespace tarnwell
