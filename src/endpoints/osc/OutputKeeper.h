// Keeps outputs connected: resolves names, connects again after trouble, tells of trouble.
//
// A wire is held weakly; one that has gone is forgotten. Thread-safe.
#pragma once

#include "endpoints/osc/OSCTransport.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace marvo {

// Finds the numeric address of a name; may take long. None with a reason when there is none.
struct LookupResult {
    std::optional<std::string> address;
    std::string reason;
};
using NameLookup = std::function<LookupResult(const std::string& name)>;
NameLookup systemNameLookup();

class UdpOSCWire;

class OutputKeeper {
public:
    explicit OutputKeeper(NameLookup lookUp);
    ~OutputKeeper();
    OutputKeeper(const OutputKeeper&) = delete;
    OutputKeeper& operator=(const OutputKeeper&) = delete;

    void add(const std::shared_ptr<UdpOSCWire>& wire);
    // Looks at all outputs at once instead of at the next round.
    void hurry();
    void onTrouble(std::function<void(const OutputTrouble&)> tell);
    void tell(const OutputTrouble& trouble);

    // Starts a look-up, or returns what the last one of this name found. Keeper thread.
    std::optional<LookupResult> resolve(const std::string& name);
    void forgetName(const std::string& name);

private:
    struct Lookups;
    void run();

    std::shared_ptr<Lookups> lookups_; // outlives this object while a look-up is stuck in the system
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<std::weak_ptr<UdpOSCWire>> wires_;
    bool hurried_ = false;
    bool stopping_ = false;
    std::mutex tellLock_;
    std::function<void(const OutputTrouble&)> tell_;
    std::thread thread_;
};

} // namespace marvo
