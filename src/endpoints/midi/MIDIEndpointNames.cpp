#include "endpoints/midi/MIDIEndpointNames.h"

#include "platform/Text.h"

#include <algorithm>
#include <set>

namespace marvo {

std::vector<std::string> MIDIEndpointNames::assign(std::span<const Device> devices) {
    std::map<std::string, std::string> names;
    std::set<std::string> taken;
    std::vector<const Device*> fresh;
    for (const Device& device : devices) {
        const auto known = present_.find(device.key);
        if (known == present_.end()) {
            fresh.push_back(&device);
        } else {
            names[device.key] = known->second;
            taken.insert(known->second);
            present_.erase(known);
        }
    }
    if (remembered_.size() + present_.size() > rememberedDevices) remembered_.clear();
    remembered_.merge(present_);

    std::stable_sort(fresh.begin(), fresh.end(), [](const Device* a, const Device* b) {
        return localizedStandardCompare(a->key, b->key) < 0;
    });
    const auto take = [&](const Device& device, const std::string& name) {
        if (!taken.insert(name).second) return false;
        names[device.key] = name;
        return true;
    };
    std::erase_if(fresh, [&](const Device* device) {
        const auto own = remembered_.find(device->key);
        if (own == remembered_.end()) return false;
        const bool isBack = take(*device, own->second);
        remembered_.erase(own);
        return isBack;
    });
    for (const Device* device : fresh) {
        int number = 1;
        std::string name = device->baseName;
        while (!take(*device, name)) name = device->baseName + " " + std::to_string(++number);
    }
    present_ = names;

    std::vector<std::string> result;
    result.reserve(devices.size());
    for (const Device& device : devices) result.push_back(names[device.key]);
    return result;
}

} // namespace marvo
