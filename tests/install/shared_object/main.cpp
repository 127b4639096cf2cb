#include <iostream>
#include <string>

std::string domainOf(const std::string& address);

int main() { std::cout << domainOf("https://www.Example.com/news") << "\n"; }
