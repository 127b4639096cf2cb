// Lays out a page as text. Everything that reaches a terminal is made printable here.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tarnwell/terminal/page.h"

namespace tarnwell::terminal {

struct PageLayout {
  std::optional<std::size_t>
      width{};  // of the terminal, in columns; tables are not cut without one
  bool isColoured = false;
};

std::string printedPage(const Page& page, const PageLayout& layout);

}  // namespace tarnwell::terminal
