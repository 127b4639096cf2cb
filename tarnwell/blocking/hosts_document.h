// The text of the hosts file: finds, reads, removes and writes the managed block. Everything
// outside it stays as it is, byte for byte.
//
//   # BEGIN TARNWELL MANAGED BLOCK
//   127.0.0.1 example.com
//   127.0.0.1 www.example.com
//   # END TARNWELL MANAGED BLOCK
#pragma once

#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/base/error.h"

namespace tarnwell {

enum class HostsDocumentCase { malformedManagedMarkers };

constexpr std::array<std::string_view, 1> texts(HostsDocumentCase) {
  return {"Tarnwell found malformed managed markers and left the hosts file unchanged."};
}

class HostsDocumentError : public CaseError<HostsDocumentCase> {
 public:
  using CaseError::CaseError;
  using enum HostsDocumentCase;
};

// A value; touches no file. A marker counts anywhere, also within a longer line. All operations
// throw HostsDocumentError unless the text has no marker, or one of each with the begin first: a
// malformed text is never repaired.
class HostsDocument {
 public:
  static constexpr std::string_view beginMarker = "# BEGIN TARNWELL MANAGED BLOCK";
  static constexpr std::string_view endMarker = "# END TARNWELL MANAGED BLOCK";

  explicit HostsDocument(std::string source) : source_(std::move(source)) {}

  // Returns the hosts that the block lists; none without a block.
  std::set<std::string> managedHosts() const;

  // Returns the text without the block and the line feed that `applying` put before it.
  std::string removingManagedBlock() const;

  // Returns the text with one block, at its end, that lists exactly these hosts. Also throws
  // HostsDocumentError where the removal of the old block would leave a marker behind.
  std::string applying(const std::vector<std::string>& hosts) const;

 private:
  struct Range {
    std::size_t begin;
    std::size_t end;  // just behind the end marker
  };

  std::optional<Range> managedRange() const;

  std::string source_;
};

}  // namespace tarnwell
