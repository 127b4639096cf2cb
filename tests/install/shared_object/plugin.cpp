// A shared object that contains the library.
#include <string>

#include "tarnwell/blocking/domain_rules.h"

std::string domainOf(const std::string& address) {
  return tarnwell::DomainRules::normalize(address);
}
