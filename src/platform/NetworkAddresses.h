// The addresses of this machine.
#pragma once

#include <string>
#include <vector>

namespace marvo {

// IPv4 addresses as text, those that others can reach before the loopback ones. Any thread; asks the system.
std::vector<std::string> hostIPv4Addresses();

} // namespace marvo
