// Gives each device of one direction a name of its own, and gives it back when the device returns.
//
// Identical devices stay apart: the second is "Name 2". A device that is there keeps its name whatever others
// do; one that returns gets its own back unless another has taken it. Which is the first of two new ones is
// decided by their keys. One user at a time.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

namespace marvo {

class MIDIEndpointNames {
public:
    struct Device {
        std::string key; // what the system tells devices apart by
        std::string baseName;
    };

    // Names for the devices that are there now, in the order given.
    std::vector<std::string> assign(std::span<const Device> devices);

private:
    static constexpr std::size_t rememberedDevices = 1000;

    std::map<std::string, std::string> present_;    // key to name
    std::map<std::string, std::string> remembered_; // of devices that have gone
};

} // namespace marvo
