// bare_start: the minimum work of a program that links the shared C++ library.
#include <iostream>

int main() { return std::cout.good() ? 0 : 1; }
