#include "tarnwell/agent/data_directory.h"

#include "tarnwell/base/error.h"
#include "tarnwell/platform/application_support.h"

namespace tarnwell {

DataDirectory DataDirectory::ofUser() {
  const auto applicationSupport = applicationSupportFolder();
  if (!applicationSupport) throw Error("There is no home folder.");
  return {*applicationSupport / "Tarnwell"};
}

}  // namespace tarnwell
