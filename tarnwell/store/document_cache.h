// Caches the last document read. A hit requires that the file is unchanged, so callers cannot
// distinguish it from a fresh read.
#pragma once

#include <memory>
#include <optional>

#include "tarnwell/base/mutex.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

// Thread-safe.
class DocumentCache {
 public:
  using Document = std::shared_ptr<const PersistedState>;

  // Returns the document that was read from the file of this identity, or null.
  Document find(const FileIdentity& identity) const;

  // Keeps a document and the open file that it was read from, with the identity that the file had
  // before it was read, unless the file has changed since.
  void keep(OpenedFile file, Document document);

 private:
  struct Entry {
    OpenedFile file;  // held open, so that no other file takes its identity
    Document document;
  };

  mutable Mutex mutex_;
  std::optional<Entry> entry_ TARNWELL_THREAD_SAFETY(guarded_by(mutex_));
};

}  // namespace tarnwell
