#include "tarnwell/store/persisted_state_json.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/json/json_encode.h"
#include "tarnwell/json/json_error.h"

#include "tests/support/json.h"

namespace tarnwell {
namespace {

using test::parseJSON;

PersistedState read(std::string text) {
  return decodePersistedState(JSONDocument(std::move(text)));
}

// A list of one record each: every key present.
struct RecordInDocument {
  std::string_view listKey;  // of the document
  std::string_view json;
  std::vector<std::string_view> required;
  std::vector<std::string_view> optional;
};

const std::vector<RecordInDocument> records = {
    {"tasks",
     R"({"id":"11111111-1111-4111-8111-111111111111","title":"T","notes":"n",)"
     R"("plannedDay":{"year":2025,"month":3,"day":4},"scheduledStart":1.5,"estimatedMinutes":30,)"
     R"("priority":"high","manualPosition":2,"status":"paused",)"
     R"("reminder":{"isEnabled":true,"remindTenMinutesBefore":true,"remindWhenOverdue":false},)"
     R"("blockingGroupID":"4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501","createdAt":1,"updatedAt":2,)"
     R"("startedAt":3,"completedAt":4,"lastSkippedAt":5,"skipCount":6,)"
     R"("accumulatedFocusSeconds":7.5,"activeSegmentStartedAt":8})",
     {"id", "title", "notes", "priority", "manualPosition", "status", "createdAt", "updatedAt",
      "skipCount", "accumulatedFocusSeconds"},
     {"plannedDay", "scheduledStart", "estimatedMinutes", "reminder", "blockingGroupID",
      "startedAt", "completedAt", "lastSkippedAt", "activeSegmentStartedAt"}},
    {"proposals",
     R"({"id":"33333333-3333-4333-8333-333333333333","kind":"splitTask",)"
     R"("taskID":"11111111-1111-4111-8111-111111111111","reason":"r",)"
     R"("originalPlannedDay":{"year":2025,"month":3,"day":4},)"
     R"("suggestedPlannedDay":{"year":2025,"month":3,"day":5},"status":"pending","createdAt":1})",
     {"id", "kind", "taskID", "reason", "status", "createdAt"},
     {"originalPlannedDay", "suggestedPlannedDay"}},
    {"auditEvents",
     R"({"id":"44444444-4444-4444-8444-444444444444","timestamp":1,"source":"app",)"
     R"("action":"task.start","taskID":"11111111-1111-4111-8111-111111111111"})",
     {"id", "timestamp", "source", "action"},
     {"taskID"}},
    {"groups",
     R"({"id":"4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501","name":"G","isEnabled":false,)"
     R"("rules":[{"id":"A0000000-0000-4000-8000-000000000001","domain":"x.com","isEnabled":true}]})",
     {"id", "name", "rules", "isEnabled"},
     {}},
};

constexpr std::string_view sessionJSON =
    R"({"id":"55555555-5555-4555-8555-555555555555","mode":"strict","startedAt":1,"endsAt":2,)"
    R"("state":"attentionRequired","group":{"id":"4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501",)"
    R"("name":"G","isEnabled":true,"rules":[]}})";

std::string documentWithList(std::string_view key, const JSONValue& record) {
  return R"({"schemaVersion":2,")" + std::string(key) +
         "\":" + encodeJSON(JSONValue(JSONValue::Array{record}), JSONLayout::compact) + "}";
}

std::string documentWithSession(const JSONValue& session) {
  return R"({"schemaVersion":2,"activeSession":)" + encodeJSON(session, JSONLayout::compact) + "}";
}

JSONValue with(const JSONValue& record, std::string_view key, JSONValue value) {
  auto object = std::get<JSONValue::Object>(record.variant());
  object.insert_or_assign(std::string(key), std::move(value));
  return object;
}

JSONValue without(const JSONValue& record, std::string_view key) {
  auto object = std::get<JSONValue::Object>(record.variant());
  object.erase(object.find(key));
  return object;
}

// Returns the record's JSON after a document was read and written.
JSONValue throughTheStore(std::string_view listKey, const JSONValue& record) {
  const auto document = parseJSON(encodePersistedState(read(documentWithList(listKey, record))));
  const auto& lists = std::get<JSONValue::Object>(document.variant());
  return std::get<JSONValue::Array>(lists.find(listKey)->second.variant()).front();
}

TEST(PersistedRecords, keepEveryKeyAndValue) {
  for (const auto& record : records) {
    EXPECT_EQ(throughTheStore(record.listKey, parseJSON(record.json)), parseJSON(record.json));
  }
  EXPECT_THAT(encodePersistedState(read(documentWithSession(parseJSON(sessionJSON)))),
              testing::HasSubstr("\"attentionRequired\""));
}

TEST(PersistedRecords, haveNoKeysButTheseInAllOfTheirForms) {
  for (const auto& record : records) {
    EXPECT_EQ(std::get<JSONValue::Object>(parseJSON(record.json).variant()).size(),
              record.required.size() + record.optional.size());
  }
}

TEST(PersistedRecords, cannotBeReadWithoutARequiredKey) {
  for (const auto& record : records) {
    for (const auto key : record.required) {
      SCOPED_TRACE(key);
      const JSONValue json = parseJSON(record.json);
      EXPECT_THROW(read(documentWithList(record.listKey, without(json, key))), JSONError);
      EXPECT_THROW(read(documentWithList(record.listKey, with(json, key, {}))), JSONError);
    }
  }
}

TEST(PersistedRecords, areReadAndWrittenWithoutAnOptionalKey) {
  for (const auto& record : records) {
    for (const auto key : record.optional) {
      SCOPED_TRACE(key);
      const JSONValue json = parseJSON(record.json);
      const JSONValue lacking = without(json, key);
      EXPECT_EQ(throughTheStore(record.listKey, lacking), lacking);
      EXPECT_EQ(throughTheStore(record.listKey, with(json, key, {})), lacking);
    }
  }
}

TEST(PersistedRecords, cannotBeReadWithAWrongTypeForAnyKey) {
  for (const auto& record : records) {
    const JSONValue json = parseJSON(record.json);
    for (const auto& [key, value] : std::get<JSONValue::Object>(json.variant())) {
      SCOPED_TRACE(key);
      const JSONValue wrong = value.string() != nullptr ? JSONValue(true) : JSONValue("text");
      EXPECT_THROW(read(documentWithList(record.listKey, with(json, key, wrong))), JSONError);
    }
  }
}

TEST(PersistedRecords, ignoreUnknownKeys) {
  for (const auto& record : records) {
    const JSONValue json = parseJSON(record.json);
    EXPECT_EQ(throughTheStore(record.listKey, with(json, "unknown", JSONValue::Array{1.0})), json);
  }
}

TEST(PersistedRecords, knowTheTextsOfTheirEnumerationsAndNoOthers) {
  struct Enumeration {
    std::size_t record;
    std::string_view key;
    std::vector<std::string> texts;
  };
  const std::vector<Enumeration> enumerations = {
      {0, "priority", {"critical", "high", "normal", "low"}},
      {0, "status", {"pending", "active", "paused", "completed", "archived"}},
      {1, "kind", {"reschedule", "reduceLoad", "splitTask"}},
      {1, "status", {"pending", "approved", "dismissed"}},
      {2, "source", {"user", "app", "agent"}}};
  for (const auto& [index, key, texts] : enumerations) {
    const auto& record = records[index];
    const auto documentWith = [&, key = key](const std::string& text) {
      return documentWithList(record.listKey, with(parseJSON(record.json), key, text));
    };
    for (const auto& text : texts) EXPECT_NO_THROW(read(documentWith(text))) << text;
    for (const auto& text : {texts[0] + " ", std::string("unknown"), std::string()}) {
      EXPECT_THROW(read(documentWith(text)), JSONError) << key << " " << text;
    }
  }
}

TEST(PersistedSession, needsItsSixKeysAndKnownTexts) {
  const JSONValue session = parseJSON(sessionJSON);
  EXPECT_TRUE(read(documentWithSession(session)).activeSession);
  for (const auto* key : {"id", "group", "mode", "startedAt", "endsAt", "state"}) {
    EXPECT_THROW(read(documentWithSession(without(session, key))), JSONError) << key;
  }
  for (const auto* text : {"flexible", "strict"}) {
    EXPECT_NO_THROW(read(documentWithSession(with(session, "mode", text))));
  }
  for (const auto* text : {"active", "completed", "attentionRequired"}) {
    EXPECT_NO_THROW(read(documentWithSession(with(session, "state", text))));
  }
  EXPECT_THROW(read(documentWithSession(with(session, "mode", "lenient"))), JSONError);
  EXPECT_THROW(read(documentWithSession(with(session, "state", "paused"))), JSONError);
}

TEST(PersistedState, ofVersionOneHoldsTheBlockingDataAlone) {
  EXPECT_EQ(read(R"({"schemaVersion":1})"), PersistedState::initial());
  const auto state =
      read(R"({"schemaVersion":1,"groups":[],"revision":9,"tasks":[{}],"proposals":7,)"
           R"("auditEvents":"x","preferences":{},"activeSession":)" +
           std::string(sessionJSON) + "}");
  EXPECT_TRUE(state.groups.empty());
  EXPECT_TRUE(state.activeSession);
  EXPECT_EQ(state.revision, 0);
  EXPECT_TRUE(state.tasks.empty());
  EXPECT_EQ(state.preferences.dailyCapacityMinutes, 480);
}

TEST(PersistedState, saysTheCurrentVersionWhateverWasRead) {
  for (const auto* version : {"1", "1.0", "2", "0", "-5", "3", "9223372036854775807"}) {
    EXPECT_EQ(read(std::string(R"({"schemaVersion":)") + version + "}").schemaVersion, 2);
  }
}

TEST(PersistedState, takesDefaultsForMissingKeysAndForNull) {
  EXPECT_EQ(read(R"({"schemaVersion":2})"), PersistedState::initial());
  EXPECT_EQ(read(R"({"schemaVersion":2,"groups":null,"activeSession":null,"revision":null,)"
                 R"("tasks":null,"proposals":null,"auditEvents":null,"preferences":null})"),
            PersistedState::initial());
}

TEST(PersistedState, keepsAnEmptyListOfGroups) {
  EXPECT_TRUE(read(R"({"schemaVersion":2,"groups":[]})").groups.empty());
}

TEST(PersistedState, needsItsVersion) {
  for (const auto* text : {"{}", R"({"schemaVersion":null})", R"({"schemaVersion":"2"})",
                           R"({"schemaVersion":2.5})", R"({"tasks":[]})", "[]", "2"}) {
    EXPECT_THROW(read(text), JSONError) << text;
    EXPECT_THROW(SchemaProbe::read(JSONDocument(std::string(text))), JSONError) << text;
  }
}

TEST(PersistedState, failsAsAWholeForAMalformedKey) {
  for (const auto* member :
       {R"("groups":[1])", R"("activeSession":{})", R"("revision":"1")", R"("tasks":{})",
        R"("proposals":[null])", R"("auditEvents":1)", R"("preferences":{})"}) {
    EXPECT_THROW(read(R"({"schemaVersion":2,)" + std::string(member) + "}"), JSONError) << member;
  }
}

TEST(PersistedState, isWrittenIndentedWithSortedKeysAndNothingForWhatIsAbsent) {
  const PersistedState state{.groups = {},
                             .revision = 3,
                             .tasks = {{.id = *UUID::parse("11111111-1111-4111-8111-111111111111"),
                                        .title = "T",
                                        .plannedDay = LocalDay{2025, 3, 9},
                                        .createdAt = Instant(816908129.25),
                                        .updatedAt = Instant(816908130)}}};
  EXPECT_EQ(encodePersistedState(state), R"({
  "auditEvents": [],
  "groups": [],
  "preferences": {
    "dailyCapacityMinutes": 480
  },
  "proposals": [],
  "revision": 3,
  "schemaVersion": 2,
  "tasks": [
    {
      "accumulatedFocusSeconds": 0,
      "createdAt": 816908129.25,
      "id": "11111111-1111-4111-8111-111111111111",
      "manualPosition": 0,
      "notes": "",
      "plannedDay": {
        "day": 9,
        "month": 3,
        "year": 2025
      },
      "priority": "normal",
      "skipCount": 0,
      "status": "pending",
      "title": "T",
      "updatedAt": 816908130
    }
  ]
})");
}

}  // namespace
}  // namespace tarnwell
