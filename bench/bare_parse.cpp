// bare_parse FILE: the minimum work of a reader, a simdjson parse into a tape.
#include <cstdlib>

#include <simdjson.h>

int main(int count, char** values) {
  if (count != 2) return EXIT_FAILURE;
  simdjson::dom::parser parser;
  return parser.load(values[1]).error() == simdjson::SUCCESS ? EXIT_SUCCESS : EXIT_FAILURE;
}
