// UTF-8, the encoding of every JSON text.
#pragma once

#include <string_view>

namespace tarnwell {

bool isValidUTF8(std::string_view bytes);

}  // namespace tarnwell
