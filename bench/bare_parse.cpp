// bare_parse FILE: the least that a reader of the file can do, a simdjson parse into a tape.
#include <cstdlib>

#include <simdjson.h>

int main(int count, char** values) {
  if (count != 2) return EXIT_FAILURE;
  simdjson::dom::parser parser;
  return parser.load(values[1]).error() == simdjson::SUCCESS ? EXIT_SUCCESS : EXIT_FAILURE;
}
