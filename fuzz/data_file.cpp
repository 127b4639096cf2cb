// A document that can be read stays the same when written and read again.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/require.h"

#include "tarnwell/base/error.h"
#include "tarnwell/store/persisted_state_json.h"

namespace tarnwell::fuzz {
namespace {

PersistedState read(std::string text) {
  PersistedState state = decodePersistedState(JSONDocument(std::move(text)));
  state.validateTasks();
  return state;
}

void check(std::string text) {
  PersistedState state;
  try {
    state = read(std::move(text));
  } catch (const Error&) {
    return;
  }
  const std::string written = encodePersistedState(state);
  const PersistedState again = read(written);
  require(again == state, "no record is changed by writing and reading it");
  require(encodePersistedState(again) == written, "equal documents are written alike");
}

}  // namespace
}  // namespace tarnwell::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarnwell::fuzz::check(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
