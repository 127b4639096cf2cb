# Finds the libraries that the static library Tarnwell::tarnwell is linked with.
include(CMakeFindDependencyMacro)
find_dependency(simdjson CONFIG)
find_dependency(uriparser CONFIG)
find_dependency(Threads)

include(${CMAKE_CURRENT_LIST_DIR}/TarnwellTargets.cmake)
