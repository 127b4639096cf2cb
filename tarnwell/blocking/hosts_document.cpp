#include "tarnwell/blocking/hosts_document.h"

#include "tarnwell/base/text.h"

namespace tarnwell {
namespace {

constexpr std::string_view loopbackAddress = "127.0.0.1";

std::vector<std::size_t> occurrences(std::string_view text, std::string_view marker) {
  std::vector<std::size_t> positions;
  for (std::size_t at = text.find(marker); at != std::string_view::npos;
       at = text.find(marker, at + marker.size())) {
    positions.push_back(at);
  }
  return positions;
}

}  // namespace

std::set<std::string> HostsDocument::managedHosts() const {
  const auto range = managedRange();
  if (!range) return {};
  const std::string_view block(source_.data() + range->begin, range->end - range->begin);
  std::set<std::string> hosts;
  for (const std::string_view line : split(block, '\n')) {
    const auto words = splitAtWhiteSpace(line);
    if (words.size() == 2 && words[0] == loopbackAddress) hosts.emplace(words[1]);
  }
  return hosts;
}

std::string HostsDocument::removingManagedBlock() const {
  const auto range = managedRange();
  if (!range) return source_;
  auto [begin, end] = *range;
  const bool takesLineFeedBefore = begin > 0 && source_[begin - 1] == '\n';
  if (takesLineFeedBefore) --begin;
  const bool isFollowedByLineFeed = end < source_.size() && source_[end] == '\n';
  const bool isLast = end + 1 == source_.size();
  if (isFollowedByLineFeed && (!takesLineFeedBefore || isLast)) ++end;
  return source_.substr(0, begin) + source_.substr(end);
}

std::string HostsDocument::applying(const std::vector<std::string>& hosts) const {
  std::string text = removingManagedBlock();
  // Throws where the removal has joined the two halves of a marker.
  HostsDocument(text).managedRange();
  if (!text.empty()) text += '\n';
  text += beginMarker;
  text += '\n';
  for (const std::string& host : std::set<std::string>(hosts.begin(), hosts.end())) {
    text += loopbackAddress;
    text += ' ';
    text += host;
    text += '\n';
  }
  text += endMarker;
  text += '\n';
  return text;
}

std::optional<HostsDocument::Range> HostsDocument::managedRange() const {
  const auto begins = occurrences(source_, beginMarker);
  const auto ends = occurrences(source_, endMarker);
  if (begins.empty() && ends.empty()) return std::nullopt;
  const bool isOneBlock = begins.size() == 1 && ends.size() == 1 && begins[0] < ends[0];
  if (!isOneBlock) throw HostsDocumentError(HostsDocumentError::malformedManagedMarkers);
  return Range{.begin = begins[0], .end = ends[0] + endMarker.size()};
}

}  // namespace tarnwell
