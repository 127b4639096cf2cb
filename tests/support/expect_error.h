// Checks which typed error an operation throws.
#pragma once

#include <exception>

#include <gtest/gtest.h>

namespace tarnwell::test {

// Succeeds when `operation` throws an `E` that equals `expected`.
template <class E, class Operation>
void expectError(const E& expected, Operation operation) {
  try {
    operation();
    ADD_FAILURE() << "nothing was thrown instead of: " << expected.what();
  } catch (const E& error) {
    EXPECT_EQ(error, expected) << error.what();
  } catch (const std::exception& error) {
    ADD_FAILURE() << "another error was thrown: " << error.what();
  }
}

}  // namespace tarnwell::test
