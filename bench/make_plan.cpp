// make_plan TASKS EVENTS FILE: writes a data file of that size.
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "bench/plan_generator.h"

#include "tarnwell/store/local_store.h"

int main(int count, char** values) {
  const std::vector<std::string> arguments(values, values + count);
  if (arguments.size() != 4) {
    std::cerr << "usage: make_plan TASKS EVENTS FILE\n";
    return EXIT_FAILURE;
  }
  const tarnwell::bench::PlanSize size{std::stoul(arguments[1]), std::stoul(arguments[2])};
  const tarnwell::LocalStore localStore(arguments[3]);
  localStore.save(tarnwell::bench::makePlan(size, tarnwell::Instant::now()));
}
