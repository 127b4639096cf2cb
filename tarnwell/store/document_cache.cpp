#include "tarnwell/store/document_cache.h"

#include <utility>

namespace tarnwell {

DocumentCache::Document DocumentCache::find(const FileIdentity& identity) const {
  const MutexLock guard(mutex_);
  if (!entry_ || identity != entry_->file.identity) return nullptr;
  return entry_->document;
}

void DocumentCache::keep(OpenedFile file, Document document) {
  const MutexLock guard(mutex_);
  entry_.reset();
  if (FileIdentity::of(file.descriptor) != file.identity) return;
  entry_.emplace(Entry{std::move(file), std::move(document)});
}

}  // namespace tarnwell
