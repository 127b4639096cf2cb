// The refusal of a call: its code, the reason, and the next step for the model.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tarnwell/agent/failures.h"
#include "tarnwell/base/error.h"
#include "tarnwell/base/record.h"
#include "tarnwell/mcp/results.h"
#include "tarnwell/store/local_store.h"

namespace tarnwell::mcp {

// A call that the server refuses before any engine does.
class Refusal : public Error {
 public:
  Refusal(FailureCode code, std::string_view message, std::string_view hint)
      : Error(message), code_(code), hint_(hint) {}

  FailureCode code() const noexcept { return code_; }
  const std::string& hint() const noexcept { return hint_; }

 private:
  FailureCode code_;
  std::string hint_;
};

// The JSON object that reports a refusal to the client.
struct RefusalReport {
  FailureCode code{};
  std::string message{};
  std::string hint{};                      // what to do next
  std::optional<std::int64_t> revision{};  // the present one, where the plan can be read
  // After a revision conflict: the changes since the expected revision, newest first, and their
  // number.
  std::optional<std::vector<ChangeView>> changes{};
  std::optional<std::int64_t> changesTotal{};

  static constexpr auto fields() {
    return std::tuple{field("code", &RefusalReport::code),
                      field("message", &RefusalReport::message),
                      field("hint", &RefusalReport::hint),
                      field("revision", &RefusalReport::revision),
                      field("changes", &RefusalReport::changes),
                      field("changes_total", &RefusalReport::changesTotal)};
  }
};

// Returns the report of the exception being handled, whatever its type. `localStore` is null
// without a data directory.
RefusalReport reportOfCurrentException(const LocalStore* localStore);

}  // namespace tarnwell::mcp
