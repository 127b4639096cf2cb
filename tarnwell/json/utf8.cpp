#include "tarnwell/json/utf8.h"

#include <simdjson.h>

namespace tarnwell {

bool isValidUTF8(std::string_view bytes) {
  return simdjson::validate_utf8(bytes.data(), bytes.size());
}

}  // namespace tarnwell
