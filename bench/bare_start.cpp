// bare_start: the least that a program can do which links the shared C++ library.
#include <iostream>

int main() { return std::cout.good() ? 0 : 1; }
