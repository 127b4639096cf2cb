// A period during which a group's websites are blocked.
#pragma once

#include <array>
#include <string_view>
#include <tuple>

#include "tarnwell/base/record.h"
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class SessionMode {
  flexible,  // may be ended at any time
  strict     // only once its end has passed
};

constexpr std::array<std::string_view, 2> texts(SessionMode) { return {"flexible", "strict"}; }

enum class SessionState { active, completed, attentionRequired };

constexpr std::array<std::string_view, 3> texts(SessionState) {
  return {"active", "completed", "attentionRequired"};
}

struct BlockSession {
  UUID id = UUID::random();
  DomainGroup group;  // a copy: later edits of the group do not change the session
  Required<SessionMode> mode;
  Instant startedAt;
  Instant endsAt;
  SessionState state = SessionState::active;

  static constexpr auto fields() {
    return std::tuple{
        field("id", &BlockSession::id),         field("group", &BlockSession::group),
        field("mode", &BlockSession::mode),     field("startedAt", &BlockSession::startedAt),
        field("endsAt", &BlockSession::endsAt), field("state", &BlockSession::state)};
  }
  friend bool operator==(const BlockSession&, const BlockSession&) = default;
};

}  // namespace tarnwell
