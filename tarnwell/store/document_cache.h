// The last document that was read from a data file, so that whoever needs it again need not read it
// again. It cannot be told from reading: the file must still be the very same.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/platform/file_identity.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

// Any thread may call.
class DocumentCache {
 public:
  using Document = std::shared_ptr<const PersistedState>;

  // The document, if the path still names the file that it was read from and that has not changed
  // since; otherwise null.
  Document find(const std::filesystem::path& path) const;

  // Keeps a document with the open file that it was read from and what that was, settled, before
  // reading; unless it is something else by now.
  void keep(FileDescriptor file, const FileIdentity& before, Document document);

 private:
  struct Entry {
    FileDescriptor file;  // held open, so that no other file takes its identity
    FileIdentity identity;
    Document document;
  };

  mutable std::mutex mutex_;
  std::optional<Entry> entry_;
};

}  // namespace tarnwell
