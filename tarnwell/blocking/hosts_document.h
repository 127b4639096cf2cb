// The text of the hosts file: the block that this system manages in it is found, read, taken out or
// put in. Everything outside the block is other people's and comes back byte for byte.
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

// A value; touches no file. The markers count wherever they stand, also within a longer line. All
// operations throw HostsDocumentError when there is not exactly one of each, the begin before the
// end, or none of either: such a text is never repaired.
class HostsDocument {
 public:
  static constexpr std::string_view beginMarker = "# BEGIN TARNWELL MANAGED BLOCK";
  static constexpr std::string_view endMarker = "# END TARNWELL MANAGED BLOCK";

  explicit HostsDocument(std::string source) : source_(std::move(source)) {}

  // The hosts that the block blocks; none where there is no block.
  std::set<std::string> managedHosts() const;

  // The text without the block and the line feed that `applying` put before it.
  std::string removingManagedBlock() const;

  // The text with one block, at its end, for exactly these hosts. Throws HostsDocumentError also
  // where taking an old block out would leave a marker behind.
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
