#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/blocking/domain_rules.h"

#include "tests/blocking/block_session_test.h"
#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

using test::expectError;
using test::groupOf;
using testing::ElementsAre;

class SessionEngineGroupsTest : public test::BlockSessionTest {};

TEST_F(SessionEngineGroupsTest, replaceGroupsStoresAndPublishesThem) {
  const std::vector<DomainGroup> groups = {groupOf({"a.com"})};
  engine.replaceGroups(groups);
  EXPECT_EQ(localStore.load().groups, groups);
  EXPECT_EQ(engine.groups.value(), groups);
  EXPECT_EQ(engine.group(groups[0].id), groups[0]);
  EXPECT_EQ(engine.group(UUID::random()), std::nullopt);
}

TEST_F(SessionEngineGroupsTest, replaceGroupsIsRefusedDuringAStrictSessionOnly) {
  storeSession(SessionMode::strict);
  const auto before = localStore.load().groups;
  expectError(SessionError(SessionError::strictSessionLocked), [&] { engine.replaceGroups({}); });
  EXPECT_EQ(localStore.load().groups, before);
  const BlockSession session = storeSession(SessionMode::flexible);
  engine.replaceGroups({});
  EXPECT_TRUE(localStore.load().groups.empty());
  EXPECT_EQ(stored(), session);
}

TEST_F(SessionEngineGroupsTest, changeGroupsKeepsTheEditsOfOtherProcesses) {
  const DomainGroup others = groupOf({"others.com"});
  const DomainGroup own = groupOf({"own.com"});
  localStore.save({.groups = {others}});
  engine.changeGroups([&](auto& groups) { groups.push_back(own); });
  EXPECT_THAT(localStore.load().groups, ElementsAre(others, own));
  EXPECT_EQ(engine.groups.value(), localStore.load().groups);
}

TEST_F(SessionEngineGroupsTest, changeGroupsBeginsWithTheDefaultGroupWhereNoneIsStored) {
  localStore.save({.groups = {}});
  engine.changeGroups([](auto& groups) { groups[0].name = "Renamed"; });
  ASSERT_EQ(localStore.load().groups.size(), 1U);
  EXPECT_EQ(localStore.load().groups[0].name, "Renamed");
}

TEST_F(SessionEngineGroupsTest, changeGroupsStoresNothingWhenItIsRefused) {
  storeSession(SessionMode::strict);
  expectError(SessionError(SessionError::strictSessionLocked),
              [&] { engine.changeGroups([](auto& groups) { groups.clear(); }); });
  storeSession(SessionMode::flexible);
  const auto flexible = localStore.load();
  EXPECT_THROW(engine.changeGroups([](auto&) { DomainRules::normalize("localhost"); }),
               DomainRuleError);
  EXPECT_EQ(localStore.load(), flexible);
}

}  // namespace
}  // namespace tarnwell
