// Reports whether blocking works, and what to do if not. Changes nothing.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/blocking/blocking_engine.h"

namespace tarnwell {

enum class DiagnosticHealth { healthy, inactive, attentionRequired };

constexpr std::array<std::string_view, 3> texts(DiagnosticHealth) {
  return {"healthy", "inactive", "attentionRequired"};
}

// `reapply` is carried out by SessionEngine::retryProtection, which also removes a block that
// belongs to no session. `reviewConfiguration` is left to the user: the hosts file cannot be read,
// or its markers are malformed.
enum class DiagnosticAction { reapply, reviewConfiguration };

constexpr std::array<std::string_view, 2> texts(DiagnosticAction) {
  return {"reapply", "reviewConfiguration"};
}

struct DiagnosticsSnapshot {
  DiagnosticHealth health{};
  BlockingStatus blockingStatus{};
  std::int64_t expectedDomainCount{};  // of all hosts, including those with "www."
  std::string backupDirectory{};       // a path
  std::optional<DiagnosticAction> suggestedAction{};

  static constexpr auto fields() {
    return std::tuple{field("health", &DiagnosticsSnapshot::health),
                      field("blockingStatus", &DiagnosticsSnapshot::blockingStatus),
                      field("expectedDomainCount", &DiagnosticsSnapshot::expectedDomainCount),
                      field("backupDirectory", &DiagnosticsSnapshot::backupDirectory),
                      field("suggestedAction", &DiagnosticsSnapshot::suggestedAction)};
  }
  friend bool operator==(const DiagnosticsSnapshot&, const DiagnosticsSnapshot&) = default;
};

// Holds the blocker by reference; the owner outlives it. Thread-safe if the blocker is.
class Diagnostics {
 public:
  Diagnostics(BlockingEngine& blocker, std::filesystem::path backupDirectory)
      : blocker_(blocker), backupDirectory_(std::move(backupDirectory)) {}

  // Never throws.
  DiagnosticsSnapshot snapshot(const std::vector<std::string>& expectedHosts) const;

 private:
  BlockingEngine& blocker_;
  std::filesystem::path backupDirectory_;
};

}  // namespace tarnwell
