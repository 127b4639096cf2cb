// The interface to the block in the system's hosts file. blocking/ holds website blocking, from the
// user's groups to that file.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/error.h"

namespace tarnwell {

// How the block compares with the expected hosts. A block that lists nothing counts as none.
enum class BlockingStatus { inactive, active, mismatch, unreadable };

constexpr std::array<std::string_view, 4> texts(BlockingStatus) {
  return {"inactive", "active", "mismatch", "unreadable"};
}

enum class BlockingCase {
  readFailed,
  writeFailed,
  dnsRefreshFailed,
  rollbackFailed,
  authorizationCancelled,
  verificationFailed
};

// `text` is always the description of the causing error.
class BlockingError : public CaseError<BlockingCase, std::string> {
 public:
  static BlockingError readFailed(std::string_view text) {
    return {Case::readFailed, "Could not read the hosts file: ", text};
  }
  static BlockingError writeFailed(std::string_view text) {
    return {Case::writeFailed, "Could not update the hosts file: ", text};
  }
  static BlockingError dnsRefreshFailed(std::string_view text) {
    return {Case::dnsRefreshFailed, "Blocking was written, but DNS refresh failed: ", text};
  }
  static BlockingError rollbackFailed(std::string_view text) {
    return {Case::rollbackFailed, "The update failed and rollback needs attention: ", text};
  }
  static BlockingError authorizationCancelled() {
    return {Case::authorizationCancelled,
            "Administrator approval was cancelled. No changes were made.", ""};
  }
  static BlockingError verificationFailed() {
    return {Case::verificationFailed, "The hosts file update could not be verified.", ""};
  }

 private:
  BlockingError(Case which, std::string_view prefix, std::string_view text)
      : CaseError(which, std::string(text), std::string(prefix) + std::string(text)) {}
};

// The hosts come from `DomainRules::expandedHosts` and are not normalised again.
class BlockingEngine {
 public:
  BlockingEngine() = default;
  BlockingEngine(const BlockingEngine&) = delete;
  BlockingEngine& operator=(const BlockingEngine&) = delete;
  virtual ~BlockingEngine() = default;

  // Makes the block list exactly these hosts. Throws BlockingError or HostsDocumentError.
  virtual void apply(const std::vector<std::string>& hosts) = 0;

  // Removes the block. Throws BlockingError or HostsDocumentError.
  virtual void remove() = 0;

  // Compares the block with the hosts that it should list. Changes nothing. Never throws.
  virtual BlockingStatus status(const std::vector<std::string>& expectedHosts) = 0;
};

}  // namespace tarnwell
