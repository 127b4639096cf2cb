# Finds the libraries that the static library Tarnwell::tarnwell links.
include(CMakeFindDependencyMacro)
find_dependency(simdjson CONFIG)
find_dependency(uriparser CONFIG)
find_dependency(Threads)

include(${CMAKE_CURRENT_LIST_DIR}/TarnwellTargets.cmake)
