#include "tarnwell/store/document_cache.h"

#include <utility>

namespace tarnwell {

DocumentCache::Document DocumentCache::find(const std::filesystem::path& path) const {
  const std::scoped_lock guard(mutex_);
  if (!entry_ || FileIdentity::of(path) != entry_->identity) return nullptr;
  return entry_->document;
}

void DocumentCache::keep(FileDescriptor file, const FileIdentity& before, Document document) {
  const std::scoped_lock guard(mutex_);
  entry_.reset();
  if (FileIdentity::of(file) != before) return;
  entry_.emplace(Entry{std::move(file), before, std::move(document)});
}

}  // namespace tarnwell
